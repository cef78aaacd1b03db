#include "platform/posix/instance_lock.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/inotify.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <utility>
#include <vector>

#include "base/files.h"
#include "base/localized.h"
#include "base/system_reason.h"

namespace dravo::posix {

namespace {

struct flock wholeFileLock() {
    struct flock lock = {};
    lock.l_type = F_WRLCK;
    lock.l_whence = SEEK_SET;
    return lock;
}

pid_t holderOf(int descriptor) {
    auto lock = wholeFileLock();
    if (fcntl(descriptor, F_GETLK, &lock) != 0 || lock.l_type == F_UNLCK) return 0;
    return lock.l_pid;
}

/// Where the lock may be, the preferred place first.
std::vector<std::filesystem::path> lockFiles(const DataFolder& folder) {
    std::vector<std::filesystem::path> files;
    for (const auto& place : {folder.home, folder.runtime})
        if (!place.empty()) files.push_back(place / "lock");
    return files;
}

std::string whyNot(const std::filesystem::path& path, int reason) {
    return path.string() + ": " + systemReason(reason);
}

}  // namespace

Result<InstanceLock> InstanceLock::acquire(const DataFolder& folder) {
    std::optional<Error> reason;
    for (const auto& path : lockFiles(folder)) {
        static_cast<void>(ensureDirectory(path.parent_path(), 0700));
        auto lock = acquireFile(path);
        if (lock || lock.error().code == ErrorCode::Busy) return lock;
        reason = lock.error();
    }
    return reason ? *reason : Error{ErrorCode::Internal, localized("there is no home directory")};
}

Result<InstanceLock> InstanceLock::acquireFile(const std::filesystem::path& path) {
    UniqueFd file(open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NONBLOCK | O_NOFOLLOW, 0600));
    if (!file) {
        const bool isDenied = errno == EACCES || errno == EROFS || errno == EPERM;
        return Error{isDenied ? ErrorCode::PermissionDenied : ErrorCode::Internal, whyNot(path, errno), errno};
    }
    auto lock = wholeFileLock();
    if (fcntl(file.get(), F_SETLK, &lock) == 0) return InstanceLock(std::move(file));
    const int reason = errno;
    if (reason != EAGAIN && reason != EACCES) return Error{ErrorCode::Internal, whyNot(path, reason), reason};
    return Error{ErrorCode::Busy, localized("Dravo is already running"), static_cast<int>(holderOf(file.get()))};
}

InstanceLock::Held InstanceLock::find(const DataFolder& folder) {
    for (const auto& path : lockFiles(folder)) {
        const UniqueFd file(open(path.c_str(), O_RDWR | O_CLOEXEC | O_NONBLOCK | O_NOFOLLOW));
        if (!file) continue;
        if (const pid_t pid = holderOf(file.get()); pid != 0) return {pid, path};
    }
    return {};
}

InstanceLock InstanceLock::adopt(int descriptor) {
    fcntl(descriptor, F_SETFD, FD_CLOEXEC);
    return InstanceLock{UniqueFd(descriptor)};
}

pid_t InstanceLock::holder(const DataFolder& folder) { return find(folder).by; }

void InstanceLock::answer(std::string_view word) const {
    // Written over the last one in a single step; what is longer is cut off before, so that nobody reads a mix.
    if (ftruncate(file_.get(), 0) != 0) return;
    [[maybe_unused]] const auto written = pwrite(file_.get(), word.data(), word.size(), 0);
}

Result<std::string> InstanceLock::ask(const DataFolder& folder, int signal, std::chrono::milliseconds patience) {
    const Held held = find(folder);
    if (held.by == 0) return Error{ErrorCode::NotFound, localized("Dravo is not running")};
    const UniqueFd changes(inotify_init1(IN_CLOEXEC | IN_NONBLOCK));
    inotify_add_watch(changes.get(), held.path.c_str(), IN_MODIFY);
    if (kill(held.by, signal) != 0) return Error{ErrorCode::PermissionDenied, systemReason(errno), errno};

    const auto deadline = std::chrono::steady_clock::now() + patience;
    for (;;) {
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - std::chrono::steady_clock::now());
        pollfd waiting{changes.get(), POLLIN, 0};
        if (left.count() <= 0 || poll(&waiting, 1, static_cast<int>(left.count())) <= 0)
            return Error{ErrorCode::Busy, localized("the running Dravo does not answer")};
        std::array<char, 4096> events{};
        [[maybe_unused]] const auto drained = read(changes.get(), events.data(), events.size());
        constexpr std::size_t kMaxAnswer = 512;
        // Emptied files are the first half of an answer.
        if (auto word = readFile(held.path, kMaxAnswer); word && !word->empty()) return *std::move(word);
    }
}

}  // namespace dravo::posix
