#include "platform/posix/replace_program.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <fstream>
#include <string_view>
#include <system_error>
#include <thread>

#include "base/system_reason.h"
#include "platform/posix/program_module.h"

namespace dravo::posix {

namespace {

/// The words of this process's command line, in order.
std::vector<std::string> commandLine() {
    std::ifstream file("/proc/self/cmdline", std::ios::binary);
    std::vector<std::string> words;
    for (std::string word; std::getline(file, word, '\0');) words.push_back(word);
    return words;
}

std::vector<char*> pointersTo(std::vector<std::string>& texts) {
    std::vector<char*> pointers;
    for (auto& text : texts) pointers.push_back(text.data());
    pointers.push_back(nullptr);
    return pointers;
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

ProgramReplacement::ProgramReplacement(const char* name, const std::string& value, int descriptor)
    : path_(programFile()), words_(commandLine()), descriptors_(fileWatches()) {
    if (descriptor >= 0) descriptors_.push_back(descriptor);
    const std::string ours = std::string(name) + '=';
    for (char** variable = environ; *variable; ++variable)
        if (!std::string_view(*variable).starts_with(ours)) variables_.emplace_back(*variable);
    variables_.push_back(ours + value);
    arguments_ = pointersTo(words_);
    environment_ = pointersTo(variables_);
}

int ProgramReplacement::start() {
    setInherited(true);
    ::execve(path_.c_str(), arguments_.data(), environment_.data());
    const int reason = errno;
    setInherited(false);
    return reason;
}

Error ProgramReplacement::failure(int number) const { return systemError(path_, number); }

void ProgramReplacement::setInherited(bool isInherited) const {
    for (const int descriptor : descriptors_) ::fcntl(descriptor, F_SETFD, isInherited ? 0 : FD_CLOEXEC);
}

}  // namespace dravo::posix
