#pragma once

#include <sys/types.h>

#include <chrono>
#include <filesystem>
#include <string>
#include <string_view>

#include "base/data_folder.h"
#include "base/result.h"
#include "base/unique_fd.h"

namespace dravo::posix {

/// The lock that the one run owning the saved tables holds: a file beside them, locked by the kernel for the process,
/// so that no ending, however rude, leaves it behind. Where the folder in the home directory cannot be written, the
/// file is in the runtime folder, as the tables are.
///
/// Taken in `main` before the crash check. Thread: main thread. A process that holds the lock must not ask for its
/// holder: that would drop it.
class InstanceLock {
public:
    /// Takes the lock; creates the folder.
    /// Errors: `Busy` (another run holds it; `nativeCode` is its process id), `PermissionDenied` or `Internal` (neither
    /// folder can hold the file; the message says why).
    [[nodiscard]] static Result<InstanceLock> acquire(const DataFolder& folder);

    /// Goes on with the lock that this process holds by `descriptor`, from before it replaced its program.
    [[nodiscard]] static InstanceLock adopt(int descriptor);
    /// For a program that replaces this one.
    [[nodiscard]] int descriptor() const { return file_.get(); }

    /// The process that holds the lock, or 0 if nobody does.
    [[nodiscard]] static pid_t holder(const DataFolder& folder);

    /// Leaves a word or a sentence (512 bytes at most) in the file: the answer to somebody who asked this run for
    /// something by `ask`.
    void answer(std::string_view word) const;

    /// Sends `signal` to the holder and waits for its next answer, for `patience` at most. Works without any bus.
    /// Errors: `NotFound` (nobody holds the lock), `PermissionDenied` (its process is not ours), `Busy` (no answer).
    [[nodiscard]] static Result<std::string> ask(const DataFolder& folder, int signal,
                                                 std::chrono::milliseconds patience);

private:
    explicit InstanceLock(UniqueFd file) : file_(std::move(file)) {}
    struct Held {
        pid_t by = 0;
        std::filesystem::path path;
    };
    [[nodiscard]] static Held find(const DataFolder& folder);
    [[nodiscard]] static Result<InstanceLock> acquireFile(const std::filesystem::path& path);

    UniqueFd file_;
};

}  // namespace dravo::posix
