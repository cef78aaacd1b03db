#include "support/child_process.h"

#include <fcntl.h>
#include <linux/capability.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <sstream>
#include <stdexcept>
#include <system_error>

namespace dravo::testing {

namespace {

[[noreturn]] void fail(int reason, const std::string& what) {
    throw std::system_error(reason, std::generic_category(), what);
}

std::vector<char*> pointersTo(std::vector<std::string>& strings) {
    std::vector<char*> pointers;
    for (auto& string : strings) pointers.push_back(string.data());
    pointers.push_back(nullptr);
    return pointers;
}

int openFor(const std::filesystem::path& file, int flags) {
    const int descriptor = open(file.c_str(), flags | O_CLOEXEC, 0600);
    if (descriptor < 0) fail(errno, file);
    return descriptor;
}

void resetSignals() {
    for (int number = 1; number < NSIG; ++number) std::signal(number, SIG_DFL);
    sigset_t none;
    sigemptyset(&none);
    sigprocmask(SIG_SETMASK, &none, nullptr);
}

void giveUpOverrulingPermissions() {
    for (const int right : {CAP_DAC_OVERRIDE, CAP_DAC_READ_SEARCH, CAP_FOWNER}) prctl(PR_CAPBSET_DROP, right, 0, 0, 0);
}

}  // namespace

ChildProcess::ChildProcess(const std::filesystem::path& program, Options options) {
    std::vector<std::string> arguments = std::move(options.arguments);
    arguments.insert(arguments.begin(), program.string());
    std::vector<std::string> environment;
    for (const auto& [name, value] : options.environment) environment.push_back(name + "=" + value);
    const auto argv = pointersTo(arguments);
    const auto envp = pointersTo(environment);

    const int in = openFor("/dev/null", O_RDONLY);
    const int out = options.outputTo.empty() ? openFor(output_ / "stdout", O_WRONLY | O_CREAT | O_APPEND)
                                             : openFor(options.outputTo, O_WRONLY);
    const int err = openFor(output_ / "stderr", O_WRONLY | O_CREAT | O_APPEND);
    // The child tells the time of its exec, and after it the reason why that failed, if it did.
    int execReport[2];
    if (pipe2(execReport, O_CLOEXEC) != 0) fail(errno, "pipe2");

    // fork, not posix_spawn: only here can the child ask to die with its parent, so that a test killed by its time
    // limit leaves no server behind.
    pid_ = fork();
    if (pid_ == 0) {
        prctl(PR_SET_PDEATHSIG, options.signalAtOurDeath);
        setpgid(0, 0);
        resetSignals();
        if (options.isBoundByPermissions) giveUpOverrulingPermissions();
        dup2(in, 0);
        dup2(out, 1);
        dup2(err, 2);
        const auto now = std::chrono::steady_clock::now();
        [[maybe_unused]] auto written = write(execReport[1], &now, sizeof now);
        execve(program.c_str(), argv.data(), envp.data());
        const int reason = errno;
        written = write(execReport[1], &reason, sizeof reason);
        _exit(127);
    }
    int reason = pid_ < 0 ? errno : 0;
    for (const int descriptor : {in, out, err, execReport[1]}) close(descriptor);
    if (pid_ > 0) {
        [[maybe_unused]] auto got = read(execReport[0], &executedAt_, sizeof executedAt_);
        got = read(execReport[0], &reason, sizeof reason);
    }
    close(execReport[0]);
    if (reason == 0) return;
    if (pid_ > 0) waitpid(pid_, nullptr, 0);
    fail(reason, program);
}

ChildProcess::~ChildProcess() {
    kill(-pid_, SIGKILL);
    if (!status_) waitpid(pid_, nullptr, 0);
}

void ChildProcess::signal(int number) const {
    if (!status_) kill(pid_, number);
}

std::optional<ExitStatus> ChildProcess::exitStatus() {
    int status = 0;
    if (!status_ && waitpid(pid_, &status, WNOHANG) == pid_) {
        status_ =
            WIFSIGNALED(status) ? ExitStatus::killedBy(WTERMSIG(status)) : ExitStatus::exited(WEXITSTATUS(status));
    }
    return status_;
}

std::optional<ExitStatus> ChildProcess::waitForExit() {
    waitUntil([this] { return !isRunning(); }, kPatienceForAnEnd, std::chrono::microseconds{500});
    return status_;
}

std::string ChildProcess::announced(const std::string& prefix) {
    std::string line;
    const auto isThere = [&] {
        std::istringstream said(standardOutput());
        while (std::getline(said, line))
            if (line.starts_with(prefix) && !said.eof()) return true;
        return false;
    };
    waitUntil([&] { return isThere() || !isRunning(); });
    if (!isThere()) throw std::runtime_error("a server does not start:\n" + standardError());
    return line.substr(prefix.size());
}

}  // namespace dravo::testing
