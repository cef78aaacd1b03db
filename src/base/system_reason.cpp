#include "base/system_reason.h"

#include <algorithm>
#include <cerrno>
#include <system_error>

#include "base/localized.h"

namespace dravo {

namespace {

struct Reason {
    int number;
    TextKey text;
};

// What people meet; in the C library's words.
constexpr Reason kReasons[] = {
    {ENOENT, textKey("No such file or directory")},
    {EACCES, textKey("Permission denied")},
    {EPERM, textKey("Operation not permitted")},
    {EROFS, textKey("Read-only file system")},
    {ENOSPC, textKey("No space left on device")},
    {EDQUOT, textKey("Disk quota exceeded")},
    {EIO, textKey("Input/output error")},
    {ENOTDIR, textKey("Not a directory")},
    {EISDIR, textKey("Is a directory")},
    {EEXIST, textKey("File exists")},
    {EPIPE, textKey("Broken pipe")},
    {EBADF, textKey("Bad file descriptor")},
    {EMFILE, textKey("Too many open files")},
    {ELOOP, textKey("Too many levels of symbolic links")},
    {ENAMETOOLONG, textKey("File name too long")},
};

}  // namespace

Sentence systemReason(int number) {
    const auto* const known = std::ranges::find(kReasons, number, &Reason::number);
    if (known == std::end(kReasons)) return std::generic_category().message(number);
    return known->text;
}

ErrorCode errorCodeOf(int number) {
    switch (number) {
        case ENOENT:
        case ENOTDIR:
            return ErrorCode::NotFound;
        case EACCES:
        case EPERM:
        case EROFS:
            return ErrorCode::PermissionDenied;
        case EEXIST:
            return ErrorCode::Busy;
        default:
            return ErrorCode::Internal;
    }
}

Error systemError(const Sentence& what, int number) {
    return {errorCodeOf(number), withDetail(what, systemReason(number)), number};
}

}  // namespace dravo
