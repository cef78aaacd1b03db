#pragma once

#include "base/result.h"

namespace dravo {

/// The desktop's system-wide grayscale mode.
///
/// Thread: main thread.
class GrayscaleService {
public:
    virtual ~GrayscaleService() = default;

    /// Whether everything on screen is gray now.
    /// Errors: `Unsupported` (this desktop has no such mode).
    [[nodiscard]] virtual Result<bool> isEnabled() = 0;

    /// Errors: `Unsupported`, `PermissionDenied`, `Disconnected`: the caller goes on without.
    virtual Result<void> setEnabled(bool enabled) = 0;

    /// An earlier run of ours did not end cleanly and may have left it on: switches off what is exactly ours.
    virtual void undoUncleanRun() {}
};

}  // namespace dravo
