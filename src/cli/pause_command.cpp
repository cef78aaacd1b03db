#include <optional>
#include <string>

#include "cli/commands.h"
#include "cli/running_control.h"
#include "cli/text.h"

namespace dravo::cli {

namespace {

using namespace std::chrono_literals;

/// "1h30m" in seconds; of units, larger ones first, each at most once.
std::optional<std::chrono::seconds> parseDuration(std::string_view text) {
    constexpr struct {
        char letter;
        std::chrono::seconds length;
    } kUnits[] = {{'d', 24h}, {'h', 1h}, {'m', 1min}, {'s', 1s}};
    constexpr std::size_t kMostDigits = 9;
    std::chrono::seconds sum{};
    if (text.empty()) return std::nullopt;
    for (const auto& unit : kUnits) {
        const auto digits = std::min(text.find_first_not_of("0123456789"), text.size());
        if (digits == text.size() || text[digits] != unit.letter) continue;
        if (digits == 0 || digits > kMostDigits) return std::nullopt;
        sum += std::stoi(std::string(text.substr(0, digits))) * unit.length;
        text.remove_prefix(digits + 1);
    }
    return text.empty() ? std::optional(sum) : std::nullopt;
}

/// The next instant at which the clocks show that time.
WallTime nextTime(int minutes, WallTime now, const Calendar& calendar) {
    LocalFields fields = calendar.fields(now);
    fields.hour = 0;
    fields.minute = minutes;
    fields.second = 0;
    const WallTime today = calendar.instant(fields);
    if (today > now) return today;
    ++fields.day;
    return calendar.instant(fields);
}

Result<PauseLength> parseLength(std::string_view text, CommandContext& context) {
    if (text == "morning") return PauseLength{UntilMorning{}};
    if (const auto minutes = parseClock(text)) {
        const auto zone = context.timeZone(std::nullopt);
        if (!zone) return zone.error();
        return PauseLength{nextTime(*minutes, context.now(), zone->calendar)};
    }
    const auto span = parseDuration(text);
    if (!span) {
        return Error{
            ErrorCode::InvalidInput,
            filled(localized("a pause is given as 15m, 1h, 1h30m, morning or a time HH:MM, not %@"), {quoted(text)})};
    }
    if (const auto refused = validate(PauseLength{*span}); !refused) return refused.error();
    return PauseLength{*span};
}

ExitCode runPause(const Arguments& arguments, CommandContext& context) {
    const auto length = parseLength(arguments.operands().empty() ? "1h" : arguments.operands()[0], context);
    if (!length) return misused(context, kPauseCommand, length.error().message);
    return finishControl(kPauseCommand, arguments, context, context.control().pause(*length));
}

constexpr const char* kPauseUsages[] = {"[15m|1h|morning|HH:MM|DURATION] [--json]"};
constexpr Option kPauseOptions[] = {kStateJsonOption};

}  // namespace

const Command kPauseCommand{
    .name = "pause",
    .summary = textKey("Switch the filter off for a while"),
    .usages = kPauseUsages,
    .description = textKey("For an hour, for a DURATION such as 45s, 90m, 1h30m or 2d, until the next HH:MM, or until "
                           "08:00 in the morning. Refused while the filter is off."),
    .options = kPauseOptions,
    .mostOperands = 1,
    .run = runPause,
};

}  // namespace dravo::cli
