#include "support/temporary_folder.h"

#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <system_error>

namespace dravo::testing {

namespace fs = std::filesystem;

namespace {

/// In memory where there is such a place: on a busy disk a sync, and with it a test, takes seconds.
fs::path roomForTests() {
    const fs::path memory = "/dev/shm";
    return ::access(memory.c_str(), W_OK) == 0 ? memory : fs::temp_directory_path();
}

}  // namespace

TemporaryFolder::TemporaryFolder(const fs::path& parent) {
    std::string pattern = ((parent.empty() ? roomForTests() : parent) / "dravo-test-XXXXXX").string();
    if (!mkdtemp(pattern.data())) throw std::system_error(errno, std::generic_category(), "mkdtemp");
    path_ = pattern;
}

TemporaryFolder::~TemporaryFolder() {
    std::error_code ignored;
    for (auto it = fs::recursive_directory_iterator(path_, ignored); it != fs::recursive_directory_iterator();
         it.increment(ignored)) {
        if (it->is_directory(ignored) && !it->is_symlink(ignored)) {
            fs::permissions(it->path(), fs::perms::owner_all, fs::perm_options::add, ignored);
        }
    }
    fs::remove_all(path_, ignored);
}

std::string contentOf(const fs::path& file) {
    std::ifstream stream(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
}

void writeProgram(const fs::path& file, const std::string& script) {
    fs::create_directories(file.parent_path());
    std::ofstream(file) << "#!/bin/sh\n" << script << '\n';
    fs::permissions(file, fs::perms::owner_all);
}

}  // namespace dravo::testing
