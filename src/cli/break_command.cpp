#include <algorithm>
#include <array>
#include <string>

#include "cli/commands.h"
#include "cli/running_control.h"
#include "cli/status_text.h"
#include "cli/text.h"

namespace dravo::cli {

namespace {

constexpr std::array<int, 6> kIntervals{10, 15, 20, 30, 45, 60};

std::optional<BreaksChange> parseBreaks(std::string_view text) {
    if (text == "on") return BreaksChange{.enabled = true};
    if (text == "off") return BreaksChange{.enabled = false};
    const auto minutes = std::ranges::find(kIntervals, text, [](int interval) { return std::to_string(interval); });
    if (minutes == kIntervals.end()) return std::nullopt;
    return BreaksChange{.enabled = true, .intervalMinutes = *minutes};
}

ExitCode runBreak(const Arguments& arguments, CommandContext& context) {
    if (arguments.operands().empty()) return showState(kBreakCommand, arguments, context, breaksText);
    const std::string_view wanted = arguments.operands()[0];
    if (wanted == "done") return finishControl(kBreakCommand, arguments, context, context.control().dismissBreak());
    const auto change = parseBreaks(wanted);
    if (!change) {
        return misused(
            context, kBreakCommand,
            filled(localized("a reminder is on, off, or comes every 10, 15, 20, 30, 45 or 60 minutes; not %@"),
                   {quoted(wanted)}));
    }
    return finishControl(kBreakCommand, arguments, context, context.control().setBreaks(*change));
}

constexpr const char* kBreakUsages[] = {"[on|off|10|15|20|30|45|60|done] [--json]"};
constexpr Option kBreakOptions[] = {kStateJsonOption};

}  // namespace

const Command kBreakCommand{
    .name = "break",
    .summary = textKey("Be reminded to rest your eyes, or show when"),
    .usages = kBreakUsages,
    .description = textKey(
        "A number switches the reminder on with that many minutes between breaks; 'done' ends the break that is on."),
    .options = kBreakOptions,
    .mostOperands = 1,
    .run = runBreak,
};

}  // namespace dravo::cli
