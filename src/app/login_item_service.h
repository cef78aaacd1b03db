#pragma once

#include "base/probe.h"
#include "base/result.h"

namespace dravo {

/// The desktop's list of programs that start at login, as far as it concerns this one. Its record is the only truth:
/// the program keeps no setting of its own for it.
///
/// Thread: main thread.
class LoginItemService : public Probed {
public:
    enum class Status {
        notRegistered,
        enabled,
        requiresApproval,  ///< Listed, but switched off for this desktop.
        notFound,          ///< Listed, but what it would start is not there.
    };

    /// What holds now, asked anew each time.
    [[nodiscard]] virtual Status status() = 0;

    /// Starts this program at login from now on. Fine if it does already.
    /// Errors: the person is told, and nothing is tried again. `PermissionDenied` (the list cannot be written, or keeps
    /// it switched off), `InvalidInput` (this program cannot be listed), `NotFound` (no list), `Internal`.
    [[nodiscard]] virtual Result<void> registerItem() = 0;

    /// Does not start it any more. Fine if it does not. Errors: as above.
    [[nodiscard]] virtual Result<void> unregisterItem() = 0;
};

}  // namespace dravo
