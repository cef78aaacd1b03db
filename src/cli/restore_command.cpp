#include <string>

#include "cli/commands.h"
#include "cli/displays.h"
#include "cli/running.h"
#include "cli/text.h"
#include "display/lasting_displays.h"

namespace dravo::cli {

namespace {

std::string outcomeText(const LastingDisplays::Restored& row) {
    using Source = LastingDisplays::Source;
    const std::string& name = row.display.name;
    if (row.display.state == DisplayState::noTable)
        return filled(localized("%1$@: left alone: %2$@"), {name, localized(row.display.problem)});
    const std::string outcome = row.source == Source::saved     ? localized("%@: has its own table back, as saved")
                                : row.source == Source::neutral ? localized("%@: has a neutral table")
                                                                : localized("%@: has its colour profile's calibration");
    return filled(outcome, {name});
}

/// A display that fails does not stop the others.
ExitCode restoreDisplays(LastingDisplays& displays, const Call& call) {
    const auto rows = displays.restoreAll();
    if (!rows) return failForDisplays(call, rows.error());
    ExitCode worst = ExitCode::Ok;
    for (const auto& row : *rows) {
        if (row.outcome) {
            call.context.out.write(outcomeText(row) + "\n");
        } else {
            worst = failForDisplays(call, row.outcome.error());
        }
    }
    return worst;
}

ExitCode runRestore(const Call& call) {
    auto& context = call.context;
    const auto isOff = context.runningInstance().switchOff();
    if (!isOff) return fail(call, ExitCode::Refused, isOff.error().message);
    if (*isOff) {
        context.out.write(localized("The running Dravo has switched the filter off.") + "\n");
        return ExitCode::Ok;
    }
    const auto displays = context.displaysToRestore();
    if (!displays && displays.error().code == ErrorCode::Busy)
        return fail(call, ExitCode::Refused, displays.error().message);
    if (!displays) return failForDisplays(call, displays.error());
    if (*displays) return restoreDisplays(**displays, call);
    context.out.write(localized("Nothing to give back: in this session no table stays when Dravo ends.") + "\n");
    return ExitCode::Ok;
}

}  // namespace

const Command kRestoreCommand{
    .name = "restore",
    .summary = textKey("Give every display back its own table"),
    .description =
        textKey("A running Dravo is asked to switch off. When none runs, every display gets the table saved by an "
                "earlier run that did not end cleanly, else its colour profile's calibration, else a neutral one."),
    .run = runRestore,
};

}  // namespace dravo::cli
