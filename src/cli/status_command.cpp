#include <string>
#include <utility>

#include "cli/commands.h"
#include "cli/running_control.h"
#include "cli/status_text.h"

namespace dravo::cli {

namespace {

/// Prints a line for each change, until the running Dravo or the reader ends.
ExitCode follow(bool asJson, const Calendar& calendar, CommandContext& context) {
    std::string lastSaid;
    const auto outcome = context.control().follow([&](const ControlState& state) {
        ControlState still = state;
        still.breaks.secondsRemaining = 0;
        const auto line = [&](const ControlState& shown) {
            return asJson ? controlStateJson(shown) : statusLine(shown, context.now(), calendar);
        };
        std::string said = line(still);
        if (std::exchange(lastSaid, std::move(said)) == lastSaid) return true;
        context.out.write(line(state) + "\n");
        return context.out.flush().hasValue();
    });
    return outcome ? ExitCode::Ok : failToControl(context, kStatusCommand, outcome.error());
}

ExitCode runStatus(const Arguments& arguments, CommandContext& context) {
    const bool asJson = arguments.has("json");
    const auto zone = context.timeZone(std::nullopt);
    if (!zone) return fail(context, kStatusCommand, ExitCode::FileTrouble, zone.error().message);
    if (arguments.has("follow")) return follow(asJson, zone->calendar, context);
    const auto state = context.control().state();
    if (!state) return failToControl(context, kStatusCommand, state.error());
    context.out.write(asJson ? controlStateJson(*state) + "\n" : statusText(*state, context.now(), zone->calendar));
    return ExitCode::Ok;
}

constexpr const char* kStatusUsages[] = {"[--follow] [--json]"};
constexpr Option kStatusOptions[] = {
    {"follow", "", textKey("Print a line now and one for each change, until Dravo ends")},
    kJsonOption,
};

}  // namespace

const Command kStatusCommand{
    .name = "status",
    .summary = textKey("Show what the running Dravo does"),
    .usages = kStatusUsages,
    .description = textKey("Times are local; --json gives them in UTC, and minutes of the local day for the schedule. "
                           "What only counts down is no change."),
    .options = kStatusOptions,
    .run = runStatus,
};

}  // namespace dravo::cli
