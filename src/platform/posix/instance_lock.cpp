#include "platform/posix/instance_lock.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <utility>

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

}  // namespace

Result<InstanceLock> InstanceLock::acquire(const std::string& path) {
    const int descriptor = open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NONBLOCK | O_NOFOLLOW, 0600);
    if (descriptor < 0) {
        const auto code =
            errno == EACCES || errno == EROFS || errno == EPERM ? ErrorCode::PermissionDenied : ErrorCode::Internal;
        return Error{code, path + ": " + std::strerror(errno), errno};
    }
    InstanceLock held(descriptor);
    auto lock = wholeFileLock();
    if (fcntl(descriptor, F_SETLK, &lock) == 0) return held;
    const int reason = errno;
    if (reason != EAGAIN && reason != EACCES)
        return Error{ErrorCode::Internal, path + ": " + std::strerror(reason), reason};
    return Error{ErrorCode::Busy, "Dravo is already running", static_cast<int>(holderOf(descriptor))};
}

pid_t InstanceLock::holder(const std::string& path) {
    const int descriptor = open(path.c_str(), O_RDWR | O_CLOEXEC | O_NONBLOCK | O_NOFOLLOW);
    if (descriptor < 0) return 0;
    const pid_t pid = holderOf(descriptor);
    close(descriptor);
    return pid;
}

InstanceLock::InstanceLock(InstanceLock&& other) noexcept : descriptor_(std::exchange(other.descriptor_, -1)) {}

InstanceLock::~InstanceLock() {
    if (descriptor_ >= 0) close(descriptor_);
}

}  // namespace dravo::posix
