#include <optional>
#include <string>

#include "cli/commands.h"
#include "cli/running_control.h"
#include "cli/status_text.h"
#include "cli/text.h"

namespace dravo::cli {

namespace {

std::optional<ScheduleChange> parseSchedule(std::string_view text) {
    if (text == "off") return ScheduleChange{.enabled = false};
    if (text == "sun") return ScheduleChange{.enabled = true, .mode = ScheduleMode::sunsetToSunrise};
    const std::size_t dash = text.find('-');
    if (dash == std::string_view::npos) return std::nullopt;
    const auto start = parseClock(text.substr(0, dash));
    const auto end = parseClock(text.substr(dash + 1));
    if (!start || !end) return std::nullopt;
    return ScheduleChange{
        .enabled = true, .mode = ScheduleMode::customTimes, .startMinutes = *start, .endMinutes = *end};
}

ExitCode runSchedule(const Arguments& arguments, CommandContext& context) {
    if (arguments.operands().empty()) return showState(kScheduleCommand, arguments, context, scheduleText);
    const std::string_view wanted = arguments.operands()[0];
    const auto change = parseSchedule(wanted);
    if (!change) {
        return misused(context, kScheduleCommand,
                       filled(localized("a schedule is given as off, sun or two times such as 20:00-07:00, not %@"),
                              {quoted(wanted)}));
    }
    return finishControl(kScheduleCommand, arguments, context, context.control().setSchedule(*change));
}

constexpr const char* kScheduleUsages[] = {"[off|HH:MM-HH:MM|sun] [--json]"};
constexpr Option kScheduleOptions[] = {kStateJsonOption};

}  // namespace

const Command kScheduleCommand{
    .name = "schedule",
    .summary = textKey("Filter at certain hours, or show at which"),
    .usages = kScheduleUsages,
    .description = textKey("Every day from the first time to the second, or from sunset to sunrise; 'off' leaves it to "
                           "you. For the sun Dravo has to know where you are: see 'dravo location'."),
    .options = kScheduleOptions,
    .mostOperands = 1,
    .run = runSchedule,
};

}  // namespace dravo::cli
