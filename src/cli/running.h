#pragma once

#include <string>

#include "app/control_state.h"
#include "cli/arguments.h"
#include "cli/command_context.h"

// How commands ask the running Dravo.

namespace dravo::cli {

/// The Dravo of this user that filters the screen now, if there is one: what can be asked of it without a bus, too.
///
/// Thread: main thread.
class RunningInstance {
public:
    virtual ~RunningInstance() = default;

    /// Asks it to switch the filter off, and waits until it has. False if none runs.
    /// Errors: `Busy` (one runs and does not answer), `PermissionDenied` (it tried, and was refused).
    [[nodiscard]] virtual Result<bool> switchOff() = 0;

    /// Asks it to quit, and waits until it has ended.
    /// Errors: `NotFound` (none runs), `Busy` (one runs and does not end), or its own refusal.
    [[nodiscard]] virtual Result<void> quit() = 0;

    /// Whether one runs, also where nothing can be asked of it.
    [[nodiscard]] virtual bool isThere() = 0;
};

/// The usual option of a command that changes something in the running Dravo.
inline constexpr Option kStateJsonOption{"json", "",
                                         textKey("Print the state afterwards, as 'dravo status --json' does")};

/// For commands that desktops offer: the command's own process then is the Dravo that was missing.
inline constexpr Option kStartOption{"start", "", textKey("Start Dravo here if none runs")};

/// Says why the running Dravo could not be asked, or what it refused, and returns the exit code for it.
ExitCode failToAsk(const Call& call, const Error& error);

/// Prints one line about the state of the running Dravo: for a person, or with `--json` for a program.
using StateText = std::string (*)(const ControlState&);
[[nodiscard]] ExitCode showState(const Call& call, StateText asText, StateText asJson = controlStateJson);

/// Ends a command by what the running Dravo answered: silent when it was done, but for `--json`.
[[nodiscard]] ExitCode finish(const Call& call, const Result<ControlAnswer>& answer);

/// Asks, and ends the command. With `--start`, where none runs, one starts with `first`.
[[nodiscard]] ExitCode askRunning(const Call& call, const ControlRequest& request,
                                  const std::optional<ControlRequest>& first = {});

}  // namespace dravo::cli
