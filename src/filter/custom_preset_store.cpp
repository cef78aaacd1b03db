#include "filter/custom_preset_store.h"

#include <algorithm>
#include <cstddef>

#include "base/files.h"
#include "base/localized.h"
#include "base/report.h"
#include "filter/preset_exchange.h"
#include "filter/preset_json.h"

namespace dravo {

namespace {

// Some ten thousand presets.
constexpr std::size_t kMostBytes = 4 * 1024 * 1024;

std::filesystem::path fileIn(const std::filesystem::path& folder) {
    return folder.empty() ? folder : folder / "custom_presets.json";
}

Result<std::vector<FilterPreset>> readPresets(const std::filesystem::path& file) {
    if (file.empty()) return Error{ErrorCode::NotFound, textKey("there is no home folder to keep presets in")};
    const auto text = readFile(file, kMostBytes);
    if (!text) return text.error();
    auto presets = decodePresets(*text);
    if (!presets) return Error{ErrorCode::InvalidInput, withDetail(file.string(), presets.error().message)};
    return presets;
}

}  // namespace

Result<std::vector<FilterPreset>> readCustomPresets(const std::filesystem::path& folder) {
    return readPresets(fileIn(folder));
}

CustomPresetStore::CustomPresetStore(const std::filesystem::path& folder) : file_(fileIn(folder)) {
    // A folder that cannot be created shows when something is to be saved in it.
    if (!folder.empty()) static_cast<void>(ensureDirectory(folder));
    if (isAbsent(file_)) return;
    auto found = readPresets(file_);
    if (found) {
        presets = std::move(*found);
    } else if (found.error().code != ErrorCode::NotFound) {
        holdsUnreadFile_ = true;
        reportOnce("custom presets unread",
                   Sentence(textKey("your own presets are not shown: %@"), {found.error().message}));
    }
}

Result<void> CustomPresetStore::save() {
    auto written = write(presets);
    if (!written)
        reportOnce("custom presets unsaved",
                   Sentence(textKey("your own presets are not saved: %@"), {written.error().message}));
    return written;
}

Result<void> CustomPresetStore::update(const FilterPreset& preset) {
    if (std::ranges::find(presets.get(), preset.id, &FilterPreset::id) == presets.get().end()) return {};
    presets = mergePresets(presets, {&preset, 1});
    return save();
}

Result<void> CustomPresetStore::adopt(std::span<const FilterPreset> incoming) {
    auto merged = mergePresets(presets, incoming);
    if (auto written = write(merged); !written) return written;
    presets = std::move(merged);
    return {};
}

Result<void> CustomPresetStore::write(const std::vector<FilterPreset>& list) {
    if (file_.empty()) return Error{ErrorCode::NotFound, textKey("there is no home folder to keep presets in")};
    const auto text = encodePresets(list);
    if (!text) return text.error();
    if (holdsUnreadFile_) {
        auto kept = setAsideAsBad(file_);
        if (!kept && kept.error().code != ErrorCode::NotFound) return kept;
        holdsUnreadFile_ = false;
    }
    return writeFileAtomically(file_, *text);
}

}  // namespace dravo
