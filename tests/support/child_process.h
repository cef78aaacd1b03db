#pragma once

#include <sys/types.h>

#include <chrono>
#include <csignal>
#include <filesystem>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "support/temporary_folder.h"
#include "support/wait_until.h"

namespace dravo::testing {

/// How a process ended: with an exit code, or by a signal.
struct ExitStatus {
    std::optional<int> code;
    std::optional<int> signal;

    bool operator==(const ExitStatus&) const = default;
    static ExitStatus exited(int code) { return {code, {}}; }
    static ExitStatus killedBy(int signal) { return {{}, signal}; }
};
std::ostream& operator<<(std::ostream& out, const ExitStatus& status);

/// A program in a process group of its own, with a clean signal state, an environment that inherits nothing, and its
/// output in files. Killed with its whole group when this is destroyed, and by the kernel when the test itself dies.
///
/// Faults of starting it throw std::system_error, which fails the test.
class ChildProcess {
public:
    struct Options {
        std::vector<std::string> arguments = {};
        std::map<std::string, std::string> environment = {};
        /// Where standard output goes; empty: kept for `standardOutput()`.
        std::filesystem::path outputTo = {};
        /// A descriptor of ours that the program gets as descriptor 3; -1: none.
        int descriptorThree = -1;
        /// What the kernel sends it when the test dies first.
        int signalAtOurDeath = SIGKILL;
        /// Whether file permissions bind it also when the tests run as root.
        bool isBoundByPermissions = false;
    };

    ChildProcess(const std::filesystem::path& program, Options options);
    ~ChildProcess();
    ChildProcess(const ChildProcess&) = delete;
    ChildProcess& operator=(const ChildProcess&) = delete;

    [[nodiscard]] pid_t pid() const { return pid_; }
    /// When it was executed, by its own clock: what came before it is not the program's.
    [[nodiscard]] std::chrono::steady_clock::time_point executedAt() const { return executedAt_; }
    [[nodiscard]] bool isRunning() { return !exitStatus(); }

    /// Sends `number` to the program alone. REQUIRES: it has not been found ended.
    void signal(int number);

    /// How it ended; nothing while it runs.
    [[nodiscard]] std::optional<ExitStatus> exitStatus();
    /// The same, waiting for the end; nothing when `patience` is over.
    std::optional<ExitStatus> waitForExit(std::chrono::milliseconds patience = kPatienceForAnEnd);

    /// What it has written so far.
    [[nodiscard]] std::string standardOutput() const { return contentOf(output_ / "stdout"); }
    [[nodiscard]] std::string standardError() const { return contentOf(output_ / "stderr"); }

private:
    TemporaryFolder output_;
    pid_t pid_ = -1;
    std::chrono::steady_clock::time_point executedAt_;
    std::optional<ExitStatus> status_;
};

}  // namespace dravo::testing
