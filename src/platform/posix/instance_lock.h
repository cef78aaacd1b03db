#pragma once

#include <sys/types.h>

#include <string>

#include "base/result.h"

namespace dravo::posix {

/// The lock that the one run owning the saved tables holds: a file beside them, locked by the kernel for the process,
/// so that no ending, however rude, leaves it behind.
///
/// Taken in `main` before the crash check. Thread: main thread. A process that holds the lock must not ask for its holder: that would drop it.
class InstanceLock {
public:
    /// Takes the lock. The folder must exist.
    /// Errors: `Busy` (another run holds it; `nativeCode` is its process id), `PermissionDenied` or `Internal` (the
    /// file cannot be made or locked; the message says why).
    [[nodiscard]] static Result<InstanceLock> acquire(const std::string& path);

    /// The process that holds the lock, or 0 if nobody does.
    [[nodiscard]] static pid_t holder(const std::string& path);

    InstanceLock(InstanceLock&& other) noexcept;
    InstanceLock& operator=(InstanceLock&&) = delete;
    ~InstanceLock();

private:
    explicit InstanceLock(int descriptor) : descriptor_(descriptor) {}

    int descriptor_;
};

}  // namespace dravo::posix
