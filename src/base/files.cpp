#include "base/files.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <chrono>
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
    return {errorCodeOf(number), Sentence(what, {path.string(), systemReason(number)}), number};
}

Error unreadable(const std::filesystem::path& path, const Sentence& reason) {
    return {ErrorCode::InvalidInput, Sentence(kRead, {path.string(), reason})};
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

/// Deletes what killed writers have left behind under names that begin so. A writer that is alive is younger.
void sweepRemains(const std::filesystem::path& folder, const std::string& prefix, std::filesystem::file_time_type now) {
    constexpr std::chrono::hours kLongerThanAnyWrite{1};
    std::error_code error;
    for (std::filesystem::directory_iterator entry(folder, error), end; !error && entry != end; entry.increment(error))
        if (entry->path().filename().string().starts_with(prefix) &&
            entry->last_write_time(error) < now - kLongerThanAnyWrite)
            ::unlink(entry->path().c_str());
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

    /// Each of these: 0, or the errno of what failed.
    int create(const std::filesystem::path& target, std::string_view text, const WriteOptions& options) {
        const auto folder = folderOf(target);
        const std::string prefix = "." + target.filename().string() + ".dravo-";
        std::string name = (folder / (prefix + "XXXXXX")).string();
        UniqueFd fd(::mkostemp(name.data(), O_CLOEXEC));
        if (!fd) return errno;
        name_ = std::move(name);
        std::error_code ignored;
        sweepRemains(folder, prefix, std::filesystem::last_write_time(name_, ignored));
        if (::fchmod(fd.get(), options.mode) != 0) return errno;
        if (const int number = writeAll(fd.get(), text)) return number;
        if (options.sync && ::fsync(fd.get()) != 0) return errno;
        // Some file systems report a full disk or quota only here.
        return ::close(fd.release()) == 0 ? 0 : errno;
    }
    int moveTo(const std::filesystem::path& target) {
        if (::rename(name_.c_str(), target.c_str()) != 0) return errno;
        name_.clear();
        return 0;
    }
    /// Not every file system, of those that homes lie on, knows the first way, nor the second.
    int moveToFree(const std::filesystem::path& target) {
        if (::renameat2(AT_FDCWD, name_.c_str(), AT_FDCWD, target.c_str(), RENAME_NOREPLACE) == 0) {
            name_.clear();
            return 0;
        }
        if (errno != EEXIST && ::linkat(AT_FDCWD, name_.c_str(), AT_FDCWD, target.c_str(), 0) == 0) return 0;
        if (errno == EEXIST) return EEXIST;
        const UniqueFd taken(::open(target.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600));
        return taken ? moveTo(target) : errno;
    }

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
    if (!S_ISREG(status.st_mode)) return unreadable(path, textKey("not a regular file"));

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
            return unreadable(path, Sentence(textKey("longer than %@ bytes"), {std::to_string(maxBytes)}));
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
    if (const int number = temporary.moveTo(target)) return failure(kWrite, path, number);
    if (options.sync) syncFolderOf(target);
    return {};
}

Result<void> writeFileIfAbsent(const std::filesystem::path& path, std::string_view text, const WriteOptions& options) {
    TemporaryFile temporary;
    if (const int number = temporary.create(path, text, options)) return failure(kWrite, path, number);
    if (const int number = temporary.moveToFree(path)) return failure(kWrite, path, number);
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
        return Error{ErrorCode::InvalidInput, Sentence(textKey("%@ is not a folder"), {path.string()}), ENOTDIR};
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
