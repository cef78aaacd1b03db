#include "app/control_request.h"

#include <string_view>

#include "base/localized.h"
#include "base/shortest_text.h"
#include "filter/adjustment_ranges.h"

namespace dravo {

namespace {

using namespace std::chrono_literals;

constexpr auto kLongestPause = std::chrono::seconds{366 * 24h};
constexpr AdjustmentRange kMinutesOfDay{0, 24 * 60 - 1};
constexpr AdjustmentRange kBreakInterval{1, 24 * 60};

Error refused(Sentence sentence) { return {ErrorCode::InvalidInput, std::move(sentence)}; }

template <typename Number>
Result<void> within(std::string_view name, const std::optional<Number>& value, const AdjustmentRange& range) {
    if (!value || range.contains(static_cast<double>(*value))) return {};
    return refused(Sentence(textKey("%1$@ lies from %2$@ to %3$@"),
                            {name, shortestText(range.lowest), shortestText(range.highest)}));
}

/// The first refusal, if there is one.
Result<void> allOf(std::initializer_list<Result<void>> results) {
    for (const auto& result : results)
        if (!result) return result;
    return {};
}

template <typename Request>
Result<void> check(const Request&) {
    return {};
}

Result<void> check(const request::PauseFor& pause) {
    if (pause.length >= 1s && pause.length <= kLongestPause) return {};
    return refused(textKey("a pause lasts from one second to 366 days"));
}

Result<void> check(const request::SetAdjustments& change) {
    return allOf({within("intensity", change.intensity, kIntensityRange),
                  within("dimming", change.dimming, kDimmingRange),
                  within("blackPoint", change.blackPoint, kBlackPointRange),
                  within("contrast", change.contrast, kContrastRange)});
}

Result<void> check(const request::SetSchedule& change) {
    return allOf({within("startMinutes", change.startMinutes, kMinutesOfDay),
                  within("endMinutes", change.endMinutes, kMinutesOfDay)});
}

Result<void> check(const request::SetBreaks& change) {
    return within("intervalMinutes", change.intervalMinutes, kBreakInterval);
}

Result<void> check(const request::SetLocation& change) {
    if (change.position.has_value() != (change.source == LocationSource::typed))
        return refused("a position is given with the source typed, and only with it");
    return change.position ? requireOnEarth(*change.position) : Result<void>();
}

}  // namespace

Result<void> validate(const ControlRequest& request) {
    return std::visit([](const auto& asked) { return check(asked); }, request);
}

}  // namespace dravo
