#pragma once

#include <sys/types.h>

#include <chrono>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "base/data_folder.h"
#include "base/result.h"
#include "base/unique_fd.h"

namespace dravo::posix {

/// The run that holds the lock, as a process that can be told something and awaited. Its number cannot pass to another.
class RunningProcess {
public:
    RunningProcess(pid_t number, UniqueFd process, std::filesystem::path lock)
        : number_(number), process_(std::move(process)), lock_(std::move(lock)) {}

    [[nodiscard]] pid_t number() const { return number_; }
    /// Errors: `PermissionDenied` (it is another user's), `Internal` (it has ended).
    [[nodiscard]] Result<void> signal(int signal) const;
    /// Sends `signal` and waits for the next answer in the lock, for `patience` at most. Works without any bus.
    /// Errors: those above, `NotFound` (it ended instead), `Busy` (no answer).
    [[nodiscard]] Result<std::string> ask(int signal, std::chrono::milliseconds patience) const;
    /// Waits for its end, for `patience` at most.
    [[nodiscard]] bool endsWithin(std::chrono::milliseconds patience) const;

private:
    pid_t number_;
    UniqueFd process_;  ///< Can be read once it has ended.
    std::filesystem::path lock_;
};

/// The lock that the one run owning the saved tables holds: a file beside them, locked by the kernel for the process,
/// so that no ending, however rude, leaves it behind. Where the folder in the home directory cannot be written, the
/// file is in the runtime folder, as the tables are.
///
/// Taken in `main` before the crash check; a command that writes to the displays holds it for its moment, too. Thread:
/// main thread. A process that holds the lock must not ask for its holder: that would drop it.
class InstanceLock {
public:
    /// Takes the lock; creates the folder. Waits a little for a command to let go of it.
    /// Errors: `Busy` (another run holds it; `nativeCode` is its process id, or no positive number where that cannot be
    /// told, as on another machine of a network home), or why neither folder can hold the file.
    [[nodiscard]] static Result<InstanceLock> acquire(const DataFolder& folder);

    /// Goes on with the lock that this process holds by `descriptor`, from before it replaced its program.
    [[nodiscard]] static InstanceLock adopt(int descriptor);
    /// For a program that replaces this one.
    [[nodiscard]] int descriptor() const { return file_.get(); }

    /// The run that holds the lock. None where it is free, where a command has it, and where its holder is not a
    /// process of this system that heeds our signals: nothing else may be sent any.
    [[nodiscard]] static std::optional<RunningProcess> run(const DataFolder& folder);
    /// Whether anybody holds the lock.
    [[nodiscard]] static bool isHeld(const DataFolder& folder);

    /// Leaves a word or a sentence (512 bytes at most) in the file: the answer to somebody who asked this run for
    /// something by `RunningProcess::ask`.
    void answer(std::string_view word) const;

private:
    explicit InstanceLock(UniqueFd file) : file_(std::move(file)) {}
    [[nodiscard]] static Result<InstanceLock> acquireFile(const std::filesystem::path& path);

    UniqueFd file_;
};

}  // namespace dravo::posix
