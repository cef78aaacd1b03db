#include "filter/user_defaults.h"

#include <charconv>
#include <cmath>
#include <limits>

#include "base/shortest_text.h"
#include "base/utf8.h"

namespace dravo {

namespace {

std::string_view withoutLeadingBlanks(std::string_view text) {
    const auto first = text.find_first_not_of(" \t\n\v\f\r");
    return first == std::string_view::npos ? std::string_view{} : text.substr(first);
}

/// The text from its number on, with a plus sign dropped, since from_chars takes none; empty if no number follows.
std::string_view numberPart(std::string_view text) {
    text = withoutLeadingBlanks(text);
    if (text.starts_with('+')) {
        text.remove_prefix(1);
        if (text.starts_with('-')) return {};
    }
    return text;
}

bool boolOf(std::string_view text) {
    text = withoutLeadingBlanks(text);
    if (text.starts_with('+') || text.starts_with('-')) text.remove_prefix(1);
    const auto first = text.find_first_not_of('0');
    if (first == std::string_view::npos) return false;
    return std::string_view("YyTt123456789").find(text[first]) != std::string_view::npos;
}

std::int64_t integerOf(std::string_view text) {
    text = numberPart(text);
    std::int64_t number = 0;
    const auto parsed = std::from_chars(text.data(), text.data() + text.size(), number);
    if (parsed.ec != std::errc::result_out_of_range) return number;
    return text.starts_with('-') ? std::numeric_limits<std::int64_t>::min() : std::numeric_limits<std::int64_t>::max();
}

std::int64_t integerOf(double number) {
    // 2^63 is the first double that no longer fits.
    if (number >= 0x1p63) return std::numeric_limits<std::int64_t>::max();
    if (number < -0x1p63) return std::numeric_limits<std::int64_t>::min();
    return static_cast<std::int64_t>(number);
}

double doubleOf(std::string_view text) {
    text = numberPart(text);
    double number = 0;
    std::from_chars(text.data(), text.data() + text.size(), number);
    return std::isfinite(number) ? number : 0;
}

std::string textOf(std::int64_t number) { return std::to_string(number); }
std::string textOf(double number) { return shortestText(number); }

/// One function per type a reader converts from; every other type gives `otherwise`.
template <typename Answer, typename FromBool, typename FromNumber, typename FromText>
Answer convert(const std::optional<DefaultsValue>& value, Answer otherwise, FromBool fromBool, FromNumber fromNumber,
               FromText fromText) {
    if (!value) return otherwise;
    if (const auto* flag = std::get_if<bool>(&*value)) return fromBool(*flag);
    if (const auto* integer = std::get_if<std::int64_t>(&*value)) return fromNumber(*integer);
    if (const auto* number = std::get_if<double>(&*value)) return fromNumber(*number);
    if (const auto* text = std::get_if<std::string>(&*value)) return fromText(*text);
    return otherwise;
}

}  // namespace

bool isStorable(const DefaultsValue& value) {
    if (const auto* number = std::get_if<double>(&value)) return std::isfinite(*number);
    if (const auto* text = std::get_if<std::string>(&value)) return isUtf8(*text);
    if (const auto* texts = std::get_if<std::vector<std::string>>(&value)) {
        for (const auto& text : *texts)
            if (!isUtf8(text)) return false;
    }
    return true;
}

DefaultsKeys changedKeys(const DefaultsValues& before, const DefaultsValues& after) {
    DefaultsKeys changed;
    const auto collect = [&changed](const DefaultsValues& from, const DefaultsValues& other) {
        for (const auto& [key, value] : from) {
            const auto found = other.find(key);
            if (found == other.end() || found->second != value) changed.insert(key);
        }
    };
    collect(before, after);
    collect(after, before);
    return changed;
}

bool UserDefaults::boolForKey(std::string_view key) const {
    return convert<bool>(
        object(key), false, [](bool flag) { return flag; }, [](auto number) { return number != 0; },
        [](std::string_view text) { return boolOf(text); });
}

std::int64_t UserDefaults::integerForKey(std::string_view key) const {
    struct FromNumber {
        std::int64_t operator()(std::int64_t number) const { return number; }
        std::int64_t operator()(double number) const { return integerOf(number); }
    };
    return convert<std::int64_t>(
        object(key), 0, [](bool flag) { return flag ? 1 : 0; }, FromNumber{},
        [](std::string_view text) { return integerOf(text); });
}

double UserDefaults::doubleForKey(std::string_view key) const {
    return convert<double>(
        object(key), 0.0, [](bool flag) { return flag ? 1.0 : 0.0; },
        [](auto number) { return static_cast<double>(number); }, [](std::string_view text) { return doubleOf(text); });
}

std::optional<std::string> UserDefaults::stringForKey(std::string_view key) const {
    return convert<std::optional<std::string>>(
        object(key), std::nullopt, [](bool flag) { return flag ? "1" : "0"; },
        [](auto number) { return textOf(number); }, [](const std::string& text) { return text; });
}

}  // namespace dravo
