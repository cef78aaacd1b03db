#pragma once

#include <filesystem>
#include <functional>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "base/descriptor_watch.h"
#include "base/result.h"
#include "base/subscription.h"
#include "base/unique_fd.h"

namespace dravo::posix {

/// Tells when somebody may have finished changing one of a few files: written and closed, renamed into place, linked,
/// or its folder gone. Not a promise that anything differs: the listener reads and compares.
///
/// It watches the files' folders, because editors replace files. A file that is only begun is not reported, so that
/// nobody takes half a text for the whole.
///
/// Thread: main thread. Lifetime: `descriptors` outlives it.
class FileWatch {
public:
    FileWatch(DescriptorWatch& descriptors, std::function<void()> onEvent);

    /// Watches exactly these files from now on; repeating the call finds a folder again that was replaced.
    /// Errors: `NotFound` (a folder is not there) or `Internal` (the system grants no watch); the others are watched.
    Result<void> watch(const std::vector<std::filesystem::path>& files);

private:
    struct Folder {
        std::filesystem::path path;
        std::set<std::string, std::less<>> names;
    };

    void readEvents();
    [[nodiscard]] bool concernsUs(int watch, std::uint32_t mask, const char* name) const;

    DescriptorWatch& descriptors_;
    std::function<void()> onEvent_;
    UniqueFd inotify_;
    std::map<int, Folder> folders_;
    Subscription readable_;
};

}  // namespace dravo::posix
