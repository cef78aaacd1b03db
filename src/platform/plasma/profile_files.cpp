#include "platform/plasma/profile_files.h"

#include <algorithm>
#include <string_view>

#include "base/files.h"
#include "display/icc_profile.h"

namespace dravo::plasma {
namespace {

constexpr std::string_view kPrefix = "filter-";
constexpr std::string_view kExtension = ".icc";

/// The largest profiles of displays, with tables for every colour, have a few megabytes.
constexpr std::size_t kLargestProfile = 16U << 20U;

bool hasOurName(const std::filesystem::path& path) {
    return path.filename().string().starts_with(kPrefix) && path.extension() == kExtension;
}

std::span<const std::uint8_t> bytesOf(const std::string& text) {
    return {reinterpret_cast<const std::uint8_t*>(text.data()), text.size()};
}

}  // namespace

ProfileFiles::ProfileFiles(const DataFolder& folder) {
    for (const auto& place : {folder.runtime, folder.home})
        if (!place.empty()) folders_.push_back(place);
}

bool ProfileFiles::isOurs(const std::string& path) const {
    const std::filesystem::path file(path);
    return hasOurName(file) && std::ranges::find(folders_, file.parent_path()) != folders_.end();
}

std::string ProfileFiles::nextPath(DisplayId display, const std::string& current) const {
    const auto file = [&](const char* turn) {
        const std::string number = std::to_string(static_cast<std::uint32_t>(display));
        const auto name = std::string(kPrefix) + number + turn + std::string(kExtension);
        return (folders_.empty() ? std::filesystem::path("/") : folders_.front()) / name;
    };
    const std::string first = file("-1");
    return first == current ? file("-2").string() : first;
}

Result<void> ProfileFiles::write(const std::string& path, const ProfileBytes& profile) const {
    const std::filesystem::path file(path);
    if (const auto made = ensureDirectory(file.parent_path(), 0700); !made) return made;
    const std::string_view text(reinterpret_cast<const char*>(profile.data()), profile.size());
    return writeFileAtomically(file, text, {.sync = false});
}

std::optional<RampLevels> ProfileFiles::tableAt(const std::string& path) {
    const auto text = readFile(path, kLargestProfile);
    const auto table = text ? calibrationOfProfile(bytesOf(*text)) : std::nullopt;
    return table ? std::optional(toLevels(*table, table->size())) : std::nullopt;
}

std::optional<ProfileBytes> ProfileFiles::profileAt(const std::string& path) {
    if (path.empty()) return std::nullopt;
    const auto text = readFile(path, kLargestProfile);
    if (!text || !isDisplayProfile(bytesOf(*text))) return std::nullopt;
    return ProfileBytes(text->begin(), text->end());
}

void ProfileFiles::remove() const {
    for (const auto& folder : folders_) {
        std::error_code error;
        std::vector<std::filesystem::path> files;
        for (const auto& entry : std::filesystem::directory_iterator(folder, error))
            if (hasOurName(entry.path())) files.push_back(entry.path());
        for (const auto& file : files) static_cast<void>(removeFile(file));
    }
}

}  // namespace dravo::plasma
