#include "platform/posix/neighbour_processes.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <string_view>
#include <system_error>

#include "base/files.h"

namespace dravo::posix {

namespace {

constexpr std::size_t kMostBytes = 4096;

/// Programs that tint or dim by loading tables, as the kernel shortens their names: to 15 bytes.
constexpr std::array<std::string_view, 6> kNeighbours{"gammastep",  "redshift",        "wlsunset",
                                                      "hyprsunset", "wl-gammarelay-r", "clight"};

constexpr TextKey kWrites = textKey("%@ changes the colours of the screen, too");
constexpr TextKey kStopIt = textKey("Stop it while Dravo is to tint");

std::string wordIn(const std::filesystem::path& file) {
    const auto text = readFile(file, kMostBytes);
    return text ? text->substr(0, text->find('\n')) : "";
}

/// What stops the process that is shown in this folder: its unit, where the service manager started one for it.
std::string commandToStop(const std::filesystem::path& process, std::string_view name) {
    constexpr std::string_view kUnit = ".service";
    const std::string group = wordIn(process / "cgroup");
    const std::string unit = group.substr(group.rfind('/') + 1);
    if (unit.ends_with(kUnit) && unit.find(name) != std::string::npos) return "systemctl --user disable --now " + unit;
    return "pkill -x " + std::string(name);
}

}  // namespace

std::vector<Finding> findNeighbours(const std::filesystem::path& processes) {
    std::vector<Finding> findings;
    std::vector<std::string_view> found;
    std::error_code ignored;
    for (auto entry = std::filesystem::directory_iterator(processes, ignored);
         !ignored && entry != std::filesystem::directory_iterator(); entry.increment(ignored)) {
        const auto& folder = entry->path();
        const std::string number = folder.filename();
        struct ::stat status {};
        if (number.find_first_not_of("0123456789") != std::string::npos || ::stat(folder.c_str(), &status) != 0 ||
            status.st_uid != ::getuid())
            continue;
        const auto* const name = std::ranges::find(kNeighbours, wordIn(folder / "comm"));
        if (name == kNeighbours.end() || std::ranges::find(found, *name) != found.end()) continue;
        found.push_back(*name);
        findings.push_back(
            {{}, Sentence{kWrites, {std::string(*name)}}, Sentence{kStopIt}, commandToStop(folder, *name)});
    }
    return findings;
}

}  // namespace dravo::posix
