#pragma once

#include <sys/types.h>

#include <chrono>
#include <csignal>
#include <filesystem>
#include <map>
#include <optional>
#include <ostream>
#include <string>
#include <vector>

#include "support/temporary_folder.h"
#include "support/wait_until.h"

namespace dravo::testing {

/// How a process ended: with an exit code, or by a signal.
struct ExitStatus {
    int code = -1;
    int signal = 0;

    static ExitStatus exited(int code) { return {code, 0}; }
    static ExitStatus killedBy(int signal) { return {-1, signal}; }
    bool operator==(const ExitStatus&) const = default;
    friend std::ostream& operator<<(std::ostream& out, const ExitStatus& status) {
        if (status.signal != 0) return out << "killed by signal " << status.signal;
        return out << "exit code " << status.code;
    }
};

using Environment = std::map<std::string, std::string>;

/// A program in a process group of its own, with a clean signal state, an environment that inherits nothing, and its
/// output in files. Killed with its whole group when this is destroyed, and by the kernel when the test itself dies.
///
/// Faults of starting it throw std::system_error, which fails the test.
class ChildProcess {
public:
    struct Options {
        std::vector<std::string> arguments = {};
        Environment environment = {};
        /// Where standard output goes; empty: kept for `standardOutput()`.
        std::filesystem::path outputTo = {};
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

    /// Sends `number` to the program alone; to nobody if it has been found ended.
    void signal(int number) const;
    /// How it ended; nothing while it runs.
    [[nodiscard]] std::optional<ExitStatus> exitStatus();
    /// The same, waiting for the end; nothing when patience is over.
    std::optional<ExitStatus> waitForExit();
    std::optional<ExitStatus> endBy(int number) {
        signal(number);
        return waitForExit();
    }

    /// What it has written so far.
    [[nodiscard]] std::string standardOutput() const { return contentOf(output_ / "stdout"); }
    [[nodiscard]] std::string standardError() const { return contentOf(output_ / "stderr"); }
    /// What follows `prefix` on the line of the standard output that begins with it, once that is there: servers say so
    /// that they are ready, and where. Throws std::runtime_error when it does not come.
    std::string announced(const std::string& prefix = {});

private:
    TemporaryFolder output_;
    pid_t pid_ = -1;
    std::chrono::steady_clock::time_point executedAt_;
    std::optional<ExitStatus> status_;
};

}  // namespace dravo::testing
