#pragma once

#include <string>

#include "app/control_client.h"
#include "cli/arguments.h"
#include "cli/command_context.h"
#include "cli/command_line.h"

namespace dravo::cli {

/// The usual option of a command that changes something in the running Dravo.
inline constexpr Option kStateJsonOption{"json", "",
                                         textKey("Print the state afterwards, as 'dravo status --json' does")};

/// Says why the running Dravo could not be asked, or what it refused, and returns the exit code for it.
[[nodiscard]] ExitCode failToControl(CommandContext& context, const Command& command, const Error& error);

/// Prints one line about the state of the running Dravo: for a person, or with `--json` for a program.
using StateText = std::string (*)(const ControlState&);
[[nodiscard]] ExitCode showState(const Command& command, const Arguments& arguments, CommandContext& context,
                                 StateText asText, StateText asJson = controlStateJson);

/// Ends a command that asked the running Dravo for something: silent when it was done, but for `--json`.
[[nodiscard]] ExitCode finishControl(const Command& command, const Arguments& arguments, CommandContext& context,
                                     const Result<void>& outcome);

}  // namespace dravo::cli
