#include "platform/files/session_environment.h"

#include <unistd.h>

#include <algorithm>
#include <cstdlib>

#include "base/split.h"

namespace dravo::files {

std::string_view variable(const char* name, std::string_view unset) {
    const char* const value = std::getenv(name);
    return value && *value != '\0' ? value : unset;
}

std::vector<std::string> listVariable(const char* name, std::string_view unset) {
    std::vector<std::string> pieces;
    for (const auto piece : splitAt(':', variable(name, unset)))
        if (!piece.empty()) pieces.emplace_back(piece);
    return pieces;
}

bool isExecutable(const std::filesystem::path& file) {
    std::error_code ignored;
    return std::filesystem::is_regular_file(file, ignored) && ::access(file.c_str(), X_OK) == 0;
}

bool canBeStarted(std::string_view program) {
    if (program.find('/') != std::string_view::npos) return isExecutable(program);
    const auto folders = listVariable("PATH");
    return std::ranges::any_of(
        folders, [&](const std::string& folder) { return isExecutable(std::filesystem::path(folder) / program); });
}

}  // namespace dravo::files
