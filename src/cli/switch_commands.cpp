#include <functional>

#include "cli/commands.h"
#include "cli/running_control.h"
#include "cli/running_instance.h"

namespace dravo::cli {

namespace {

/// A command that is one call without arguments.
template <const Command& command, Result<void> (ControlClient::*operation)()>
ExitCode runCall(const Arguments& arguments, CommandContext& context) {
    return finishControl(command, arguments, context, std::invoke(operation, context.control()));
}

ExitCode runQuit(const Arguments& arguments, CommandContext& context) {
    return finishControl(kQuitCommand, arguments, context, context.runningInstance().quit());
}

constexpr const char* kPlainUsages[] = {"[--json]"};
constexpr const char* kQuitUsages[] = {""};
constexpr Option kPlainOptions[] = {kStateJsonOption};

}  // namespace

const Command kToggleCommand{
    .name = "toggle",
    .summary = textKey("Switch the filter on or off"),
    .usages = kPlainUsages,
    .description = textKey("Holds until the schedule's next change, as 'on' and 'off' do."),
    .options = kPlainOptions,
    .run = runCall<kToggleCommand, &ControlClient::toggle>,
};

const Command kOnCommand{
    .name = "on",
    .summary = textKey("Switch the filter on"),
    .usages = kPlainUsages,
    .options = kPlainOptions,
    .run = runCall<kOnCommand, &ControlClient::switchOn>,
};

const Command kOffCommand{
    .name = "off",
    .summary = textKey("Switch the filter off"),
    .usages = kPlainUsages,
    .description = textKey("In a pause it drops the pause, and the filter stays off."),
    .options = kPlainOptions,
    .run = runCall<kOffCommand, &ControlClient::switchOff>,
};

const Command kResumeCommand{
    .name = "resume",
    .summary = textKey("End a pause"),
    .usages = kPlainUsages,
    .description = textKey("Without a pause it changes nothing."),
    .options = kPlainOptions,
    .run = runCall<kResumeCommand, &ControlClient::resume>,
};

const Command kPanelCommand{
    .name = "panel",
    .summary = textKey("Open the running Dravo's panel"),
    .usages = kPlainUsages,
    .description =
        textKey("Does what a second start of Dravo does. One that runs without a window has no panel to open."),
    .options = kPlainOptions,
    .run = runCall<kPanelCommand, &ControlClient::activate>,
};

const Command kQuitCommand{
    .name = "quit",
    .summary = textKey("End the running Dravo"),
    .usages = kQuitUsages,
    .description = textKey("Returns when it has ended and every display has its own table back."),
    .run = runQuit,
};

}  // namespace dravo::cli
