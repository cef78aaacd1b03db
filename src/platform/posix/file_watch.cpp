#include "platform/posix/file_watch.h"

#include <sys/inotify.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstring>
#include <system_error>
#include <utility>

#include "base/system_reason.h"

namespace dravo::posix {

namespace {

constexpr std::uint32_t kFolderGone = IN_DELETE_SELF | IN_MOVE_SELF | IN_IGNORED;
constexpr std::uint32_t kWanted = IN_CLOSE_WRITE | IN_MOVED_TO | IN_CREATE | IN_DELETE_SELF | IN_MOVE_SELF | IN_ONLYDIR;

}  // namespace

FileWatch::FileWatch(DescriptorWatch& descriptors, std::function<void()> onEvent)
    : descriptors_(descriptors), onEvent_(std::move(onEvent)) {}

Result<void> FileWatch::watch(const std::vector<std::filesystem::path>& files) {
    if (!inotify_) {
        inotify_ = UniqueFd(::inotify_init1(IN_NONBLOCK | IN_CLOEXEC));
        if (!inotify_) return systemError(files.front().string(), errno);
        readable_ = descriptors_.whenReadable(inotify_.get(), [this] { readEvents(); });
    }
    Result<void> result;
    std::map<int, Folder> folders;
    for (const auto& file : files) {
        const auto folder = file.parent_path();
        const int watch = ::inotify_add_watch(inotify_.get(), folder.c_str(), kWanted);
        if (watch < 0) {
            result = systemError(folder.string(), errno);
            continue;
        }
        folders[watch].path = folder;
        folders[watch].names.insert(file.filename());
    }
    for (const auto& [watch, folder] : folders_)
        if (!folders.contains(watch)) ::inotify_rm_watch(inotify_.get(), watch);
    folders_ = std::move(folders);
    return result;
}

void FileWatch::readEvents() {
    bool ours = false;
    alignas(inotify_event) std::array<char, 4096> buffer;
    ::ssize_t count;
    while ((count = ::read(inotify_.get(), buffer.data(), buffer.size())) > 0) {
        for (std::size_t at = 0; at < static_cast<std::size_t>(count);) {
            inotify_event event;
            std::memcpy(&event, buffer.data() + at, sizeof event);
            const char* name = event.len > 0 ? buffer.data() + at + sizeof event : "";
            ours = ours || concernsUs(event.wd, event.mask, name);
            at += sizeof event + event.len;
        }
    }
    if (ours) onEvent_();
}

bool FileWatch::concernsUs(int watch, std::uint32_t mask, const char* name) const {
    if (mask & IN_Q_OVERFLOW) return true;
    const auto folder = folders_.find(watch);
    if (folder == folders_.end()) return false;
    if (mask & kFolderGone) return true;
    if (!folder->second.names.contains(name)) return false;
    // A new file is reported once it is closed; only a link is whole from the start.
    std::error_code error;
    return !(mask & IN_CREATE) || std::filesystem::is_symlink(folder->second.path / name, error);
}

}  // namespace dravo::posix
