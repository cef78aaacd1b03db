#include "platform/posix/instance_lock.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <fstream>
#include <utility>
#include <vector>

#include "base/files.h"
#include "base/localized.h"
#include "base/system_reason.h"

namespace dravo::posix {

namespace {

using namespace std::chrono_literals;

struct flock wholeFileLock() {
    struct flock lock = {};
    lock.l_type = F_WRLCK;
    lock.l_whence = SEEK_SET;
    return lock;
}

/// Who holds a lock on the file. A lock that belongs to an open file instead of a process, or to a process of another
/// machine or container, has no positive number.
std::optional<pid_t> holderOf(int descriptor) {
    auto lock = wholeFileLock();
    if (fcntl(descriptor, F_GETLK, &lock) != 0 || lock.l_type == F_UNLCK) return std::nullopt;
    return lock.l_pid;
}

/// A run has these signals blocked from its first moment on and takes them one by one; any other process they end.
bool isRun(pid_t process) {
    std::ifstream status("/proc/" + std::to_string(process) + "/status");
    constexpr std::string_view kBlocked = "SigBlk:";
    constexpr auto kOurs = (1ULL << (SIGUSR1 - 1)) | (1ULL << (SIGUSR2 - 1));
    for (std::string line; std::getline(status, line);)
        if (line.starts_with(kBlocked))
            return (std::stoull(line.substr(kBlocked.size()), nullptr, 16) & kOurs) == kOurs;
    return false;
}

/// The process of this system that holds a lock on the file `path`, open as `descriptor`.
std::optional<RunningProcess> processHolding(int descriptor, const std::filesystem::path& path) {
    const auto number = holderOf(descriptor);
    if (!number || *number <= 1) return std::nullopt;
    UniqueFd process(static_cast<int>(::syscall(SYS_pidfd_open, *number, 0)));
    // Asked again: the number may have passed to somebody else in between.
    if (!process || holderOf(descriptor) != number) return std::nullopt;
    return RunningProcess(*number, std::move(process), path);
}

/// Where the lock may be, the preferred place first.
std::vector<std::filesystem::path> lockFiles(const DataFolder& folder) {
    std::vector<std::filesystem::path> files;
    for (const auto& place : {folder.home, folder.runtime})
        if (!place.empty()) files.push_back(place / "lock");
    return files;
}

constexpr int kOpening = O_RDWR | O_CLOEXEC | O_NONBLOCK | O_NOFOLLOW;

}  // namespace

Result<void> RunningProcess::signal(int signal) const {
    if (::syscall(SYS_pidfd_send_signal, process_.get(), signal, nullptr, 0) == 0) return {};
    return Error{errorCodeOf(errno), systemReason(errno), errno};
}

Result<std::string> RunningProcess::ask(int signal, std::chrono::milliseconds patience) const {
    // Emptied first: whatever stands there then is the answer.
    if (truncate(lock_.c_str(), 0) != 0) return systemError(lock_.string(), errno);
    if (auto asked = this->signal(signal); !asked) return asked.error();
    const auto deadline = std::chrono::steady_clock::now() + patience;
    while (std::chrono::steady_clock::now() < deadline) {
        constexpr std::size_t kMaxAnswer = 512;
        if (endsWithin(5ms)) return Error{ErrorCode::NotFound, textKey("Dravo is not running")};
        if (auto word = readFile(lock_, kMaxAnswer); word && !word->empty()) return *std::move(word);
    }
    return Error{ErrorCode::Busy, textKey("the running Dravo does not answer")};
}

bool RunningProcess::endsWithin(std::chrono::milliseconds patience) const {
    pollfd end{process_.get(), POLLIN, 0};
    return ::poll(&end, 1, static_cast<int>(patience.count())) > 0;
}

Result<InstanceLock> InstanceLock::acquire(const DataFolder& folder) {
    std::optional<Error> reason;
    for (const auto& path : lockFiles(folder)) {
        static_cast<void>(ensureDirectory(path.parent_path(), 0700));
        auto lock = acquireFile(path);
        if (lock || lock.error().code == ErrorCode::Busy) return lock;
        reason = lock.error();
    }
    return reason ? *reason : Error{ErrorCode::Internal, textKey("there is no home directory")};
}

Result<InstanceLock> InstanceLock::acquireFile(const std::filesystem::path& path) {
    UniqueFd file(open(path.c_str(), kOpening | O_CREAT, 0600));
    if (!file) return systemError(path.string(), errno);
    for (bool hasWaited = false;; hasWaited = true) {
        auto lock = wholeFileLock();
        if (fcntl(file.get(), F_SETLK, &lock) == 0) return InstanceLock(std::move(file));
        if (errno != EAGAIN && errno != EACCES) return systemError(path.string(), errno);
        const auto holder = processHolding(file.get(), path);
        const bool isCommand = holder && !isRun(holder->number());
        if (!hasWaited && isCommand && holder->endsWithin(3s)) continue;
        return Error{ErrorCode::Busy, textKey("Dravo is already running"), holder ? holder->number() : 0};
    }
}

InstanceLock InstanceLock::adopt(int descriptor) {
    fcntl(descriptor, F_SETFD, FD_CLOEXEC);
    return InstanceLock{UniqueFd(descriptor)};
}

std::optional<RunningProcess> InstanceLock::run(const DataFolder& folder) {
    for (const auto& path : lockFiles(folder)) {
        const UniqueFd file(open(path.c_str(), kOpening));
        auto holder = file ? processHolding(file.get(), path) : std::nullopt;
        if (holder && isRun(holder->number())) return holder;
    }
    return std::nullopt;
}

bool InstanceLock::isHeld(const DataFolder& folder) {
    for (const auto& path : lockFiles(folder)) {
        const UniqueFd file(open(path.c_str(), kOpening));
        if (file && holderOf(file.get())) return true;
    }
    return false;
}

void InstanceLock::answer(std::string_view word) const {
    // Written over the last one in a single step; what is longer is cut off before, so that nobody reads a mix.
    if (ftruncate(file_.get(), 0) != 0) return;
    [[maybe_unused]] const auto written = pwrite(file_.get(), word.data(), word.size(), 0);
}

}  // namespace dravo::posix
