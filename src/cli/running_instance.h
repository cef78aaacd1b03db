#pragma once

#include "base/result.h"

namespace dravo::cli {

/// The Dravo of this user that filters the screen now, if there is one.
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

}  // namespace dravo::cli
