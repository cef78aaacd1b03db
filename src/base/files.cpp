#include "base/files.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <system_error>

#include "base/localized.h"
#include "base/system_reason.h"
#include "base/unique_fd.h"

namespace dravo {

namespace {

constexpr TextKey kRead = textKey("cannot read %1$@: %2$@");
constexpr TextKey kWrite = textKey("cannot write %1$@: %2$@");

/// `what` names the path and the reason.
Error failure(const TextKey& what, const std::filesystem::path& path, int number) {
    return {errorCodeOf(number), filled(localized(what), {path.string(), systemReason(number)}), number};
}

Error unreadable(const std::filesystem::path& path, const std::string& reason) {
    return {ErrorCode::InvalidInput, filled(localized(kRead), {path.string(), reason})};
}

std::filesystem::path folderOf(const std::filesystem::path& path) {
    const auto folder = path.parent_path();
    return folder.empty() ? std::filesystem::path(".") : folder;
}

int writeAll(int fd, std::string_view text) {
    while (!text.empty()) {
        const ::ssize_t written = ::write(fd, text.data(), text.size());
        if (written < 0) {
            if (errno == EINTR) continue;
            return errno;
        }
        text.remove_prefix(static_cast<std::size_t>(written));
    }
    return 0;
}

/// A file beside `target` that holds the text whole, and goes away again unless it was moved.
class TemporaryFile {
public:
    TemporaryFile() = default;
    TemporaryFile(const TemporaryFile&) = delete;
    TemporaryFile& operator=(const TemporaryFile&) = delete;
    ~TemporaryFile() {
        if (!name_.empty()) ::unlink(name_.c_str());
    }

    /// 0, or the errno of what failed.
    int create(const std::filesystem::path& target, std::string_view text, const WriteOptions& options) {
        std::string name = (folderOf(target) / ("." + target.filename().string() + ".XXXXXX")).string();
        UniqueFd fd(::mkostemp(name.data(), O_CLOEXEC));
        if (!fd) return errno;
        name_ = std::move(name);
        if (::fchmod(fd.get(), options.mode) != 0) return errno;
        if (const int number = writeAll(fd.get(), text)) return number;
        if (options.sync && ::fsync(fd.get()) != 0) return errno;
        // Some file systems report a full disk or quota only here.
        return ::close(fd.release()) == 0 ? 0 : errno;
    }

    [[nodiscard]] const char* name() const { return name_.c_str(); }
    void moved() { name_.clear(); }

private:
    std::string name_;
};

void syncFolderOf(const std::filesystem::path& path) {
    const UniqueFd folder(::open(folderOf(path).c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    // The file is in place by now; a file system that cannot sync folders makes that no failure.
    if (folder) static_cast<void>(::fsync(folder.get()));
}

}  // namespace

bool isAbsent(const std::filesystem::path& path) {
    struct ::stat status {};
    return ::lstat(path.c_str(), &status) != 0 && errorCodeOf(errno) == ErrorCode::NotFound;
}

Result<std::string> readFile(const std::filesystem::path& path, std::size_t maxBytes) {
    // Non-blocking, so that a pipe put in the file's place cannot hold us up in open().
    const UniqueFd fd(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
    if (!fd) return failure(kRead, path, errno);
    struct ::stat status {};
    if (::fstat(fd.get(), &status) != 0) return failure(kRead, path, errno);
    if (!S_ISREG(status.st_mode)) return unreadable(path, localized("not a regular file"));

    std::string text;
    std::array<char, 16384> buffer;
    for (;;) {
        const ::ssize_t count = ::read(fd.get(), buffer.data(), buffer.size());
        if (count == 0) return text;
        if (count < 0) {
            if (errno == EINTR) continue;
            return failure(kRead, path, errno);
        }
        text.append(buffer.data(), static_cast<std::size_t>(count));
        if (text.size() > maxBytes) {
            return unreadable(path, filled(localized("longer than %@ bytes"), {std::to_string(maxBytes)}));
        }
    }
}

Result<void> writeFileAtomically(const std::filesystem::path& path, std::string_view text,
                                 const WriteOptions& options) {
    std::error_code unresolved;
    auto target = std::filesystem::canonical(path, unresolved);
    if (unresolved) target = path;

    TemporaryFile temporary;
    if (const int number = temporary.create(target, text, options)) return failure(kWrite, path, number);
    if (::rename(temporary.name(), target.c_str()) != 0) return failure(kWrite, path, errno);
    temporary.moved();
    if (options.sync) syncFolderOf(target);
    return {};
}

Result<void> writeFileIfAbsent(const std::filesystem::path& path, std::string_view text, const WriteOptions& options) {
    TemporaryFile temporary;
    if (const int number = temporary.create(path, text, options)) return failure(kWrite, path, number);
    if (::link(temporary.name(), path.c_str()) != 0) return failure(kWrite, path, errno);
    if (options.sync) syncFolderOf(path);
    return {};
}

Result<void> syncFile(const std::filesystem::path& path) {
    const UniqueFd file(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
    if (!file || ::fsync(file.get()) != 0) return failure(textKey("cannot sync %1$@: %2$@"), path, errno);
    syncFolderOf(path);
    return {};
}

Result<void> ensureDirectory(const std::filesystem::path& path, ::mode_t mode) {
    if (::mkdir(path.c_str(), mode) == 0) return {};
    int number = errno;
    const auto parent = path.parent_path();
    if (number == ENOENT && !parent.empty() && parent != path) {
        if (auto made = ensureDirectory(parent, mode); !made) return made;
        if (::mkdir(path.c_str(), mode) == 0) return {};
        number = errno;
    }
    struct ::stat status {};
    // Asked before the reason counts: mkdir answers for an existing folder on a read-only disk with EROFS.
    if (::stat(path.c_str(), &status) == 0) {
        if (S_ISDIR(status.st_mode)) return {};
        return Error{ErrorCode::InvalidInput, filled(localized("%@ is not a folder"), {path.string()}), ENOTDIR};
    }
    return failure(textKey("cannot create %1$@: %2$@"), path, number);
}

Result<void> removeFile(const std::filesystem::path& path) {
    if (::unlink(path.c_str()) == 0 || errno == ENOENT || errno == ENOTDIR) return {};
    return failure(textKey("cannot delete %1$@: %2$@"), path, errno);
}

Result<void> setAsideAsBad(const std::filesystem::path& path) {
    if (::rename(path.c_str(), (path.string() + ".bad").c_str()) == 0) return {};
    return failure(textKey("cannot keep a copy of %1$@: %2$@"), path, errno);
}

}  // namespace dravo
