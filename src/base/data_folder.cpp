#include "base/data_folder.h"

#include <pwd.h>
#include <unistd.h>

#include <cstdlib>

namespace dravo {
namespace {

/// An absolute path, or nothing: a relative one would mean another folder in every working directory.
std::filesystem::path absolutePath(const char* text) {
    const std::filesystem::path path = text ? text : "";
    return path.is_absolute() ? path : std::filesystem::path{};
}

}  // namespace

DataFolder DataFolder::ofThisUser() {
    std::filesystem::path home = absolutePath(std::getenv("HOME"));
    if (home.empty())
        if (const passwd* user = ::getpwuid(::getuid())) home = absolutePath(user->pw_dir);
    const std::filesystem::path runtime = absolutePath(std::getenv("XDG_RUNTIME_DIR"));
    std::filesystem::path settings = absolutePath(std::getenv("XDG_CONFIG_HOME"));
    if (settings.empty() && !home.empty()) settings = home / ".config";
    return {home.empty() ? home : home / ".dravo", runtime.empty() ? runtime : runtime / "dravo", settings};
}

}  // namespace dravo
