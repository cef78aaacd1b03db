#include "platform/posix/replace_program.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <system_error>
#include <thread>
#include <vector>

namespace dravo::posix {

namespace {

/// The words of this process's command line, in order.
std::vector<std::string> commandLine() {
    std::ifstream file("/proc/self/cmdline", std::ios::binary);
    const std::string text{std::istreambuf_iterator<char>(file), {}};
    std::vector<std::string> words;
    for (std::size_t at = 0; at < text.size();) {
        const auto end = text.find('\0', at);
        words.push_back(text.substr(at, end - at));
        if (end == std::string::npos) break;
        at = end + 1;
    }
    return words;
}

/// Where the program was started from, also if that file has been replaced.
std::string programPath() {
    std::error_code ignored;
    std::string path = std::filesystem::read_symlink("/proc/self/exe", ignored).string();
    constexpr std::string_view kReplaced = " (deleted)";
    if (path.ends_with(kReplaced)) path.erase(path.size() - kReplaced.size());
    return path;
}

/// The descriptors that watch files.
std::vector<int> fileWatches() {
    std::vector<int> found;
    std::error_code ignored;
    for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd", ignored))
        if (std::filesystem::read_symlink(entry.path(), ignored) == "anon_inode:inotify")
            found.push_back(std::stoi(entry.path().filename()));
    return found;
}

void setInherited(const std::vector<int>& descriptors, bool isInherited) {
    for (const int descriptor : descriptors) ::fcntl(descriptor, F_SETFD, isInherited ? 0 : FD_CLOEXEC);
}

}  // namespace

void letGoOfFileWatches() {
    try {
        std::thread([watches = fileWatches()] {
            for (const int watch : watches) ::close(watch);
        }).detach();
    } catch (const std::system_error&) {
        // Better a few idle descriptors than a main thread that waits.
    }
}

Error replaceProgram(const char* name, const std::string& value) {
    auto words = commandLine();
    std::vector<char*> arguments;
    for (auto& word : words) arguments.push_back(word.data());
    arguments.push_back(nullptr);
    std::fflush(nullptr);
    ::setenv(name, value.c_str(), 1);
    const std::string path = programPath();
    const auto watches = fileWatches();
    setInherited(watches, true);
    ::execv(path.c_str(), arguments.data());
    const int reason = errno;
    setInherited(watches, false);
    ::unsetenv(name);
    const auto code = reason == ENOENT   ? ErrorCode::NotFound
                      : reason == EACCES ? ErrorCode::PermissionDenied
                                         : ErrorCode::Internal;
    return {code, path + ": " + std::strerror(reason), reason};
}

}  // namespace dravo::posix
