#include "app/hand_over.h"

#include <charconv>
#include <chrono>
#include <cmath>
#include <sstream>

#include "base/shortest_text.h"

namespace dravo {

namespace {

// Words with blanks between them; the preset's id, which may have blanks itself, comes last.
constexpr std::string_view kForm = "1";
constexpr std::string_view kNone = "-";

std::string wordOf(std::optional<bool> value) {
    if (!value) return std::string(kNone);
    return *value ? "yes" : "no";
}

/// Takes words off the front of a text; the first that does not fit makes all that follow fail.
class Words {
public:
    explicit Words(std::string_view text) : rest_(text) {}

    std::string_view next() {
        const auto end = rest_.find(' ');
        const auto word = rest_.substr(0, end);
        rest_ = end == std::string_view::npos ? std::string_view() : rest_.substr(end + 1);
        return word;
    }
    template <typename Number>
    Number number() {
        const auto word = next();
        Number value{};
        const auto read = std::from_chars(word.data(), word.data() + word.size(), value);
        isSound_ = isSound_ && read.ec == std::errc() && read.ptr == word.data() + word.size();
        return value;
    }
    double finite() {
        const auto value = number<double>();
        isSound_ = isSound_ && std::isfinite(value);
        return value;
    }
    std::optional<bool> maybe() {
        const auto word = next();
        isSound_ = isSound_ && (word == "yes" || word == "no" || word == kNone);
        return word == kNone ? std::nullopt : std::optional(word == "yes");
    }
    bool truth() {
        const auto value = maybe();
        isSound_ = isSound_ && value.has_value();
        return value.value_or(false);
    }
    [[nodiscard]] std::string_view rest() const { return rest_; }
    [[nodiscard]] bool isSound() const { return isSound_; }

private:
    std::string_view rest_;
    bool isSound_ = true;
};

}  // namespace

std::string encodeHandOver(const HandOver& handOver) {
    const auto& state = handOver.state;
    std::ostringstream text;
    text.imbue(std::locale::classic());
    text << kForm << ' ' << handOver.process << ' ' << handOver.lock << ' ' << wordOf(handOver.hasGrayOn) << ' '
         << wordOf(state.isEnabled) << ' ';
    if (state.pausedUntil) {
        text << state.pausedUntil->time_since_epoch().count();
    } else {
        text << 0;
    }
    text << ' ' << wordOf(state.scheduleOverride) << ' ' << wordOf(state.lastInWindow);
    for (const double value : {state.adjustments.intensity, state.adjustments.dimming, state.adjustments.blackPoint,
                               state.adjustments.contrast}) {
        text << ' ' << shortestText(value);
    }
    text << ' ' << state.presetID;
    return text.str();
}

std::optional<HandOver> decodeHandOver(std::string_view text) {
    Words words(text);
    if (words.next() != kForm) return std::nullopt;
    HandOver handOver;
    auto& state = handOver.state;
    handOver.process = words.number<int>();
    handOver.lock = words.number<int>();
    handOver.hasGrayOn = words.truth();
    state.isEnabled = words.truth();
    const auto pauseEnd = words.number<WallTime::rep>();
    if (pauseEnd != 0) state.pausedUntil = WallTime(WallTime::duration(pauseEnd));
    state.scheduleOverride = words.truth();
    state.lastInWindow = words.maybe();
    for (double* const value : {&state.adjustments.intensity, &state.adjustments.dimming, &state.adjustments.blackPoint,
                                &state.adjustments.contrast}) {
        *value = words.finite();
    }
    state.presetID = words.rest();
    if (!words.isSound() || state.presetID.empty()) return std::nullopt;
    return handOver;
}

}  // namespace dravo
