#pragma once

#include <filesystem>
#include <span>
#include <vector>

#include "base/observable.h"
#include "base/result.h"
#include "filter/filter_preset.h"

namespace dravo {

/// The presets in the file of this name inside `folder`, without creating or changing anything.
/// Errors: `NotFound` (no file, the ordinary case at first); others say why the file cannot be used.
[[nodiscard]] Result<std::vector<FilterPreset>> readCustomPresets(const std::filesystem::path& folder);

/// A person's own presets: a list in memory, read once from `custom_presets.json` and written back whole on request.
///
/// Not a watcher: what others write to the file meanwhile is lost at the next save. A file that cannot be understood
/// shows as an empty list; one line on standard error says why, and the first save keeps it as
/// `custom_presets.json.bad`. Failures to save are said once on standard error too, so callers may drop the result.
///
/// Thread: main thread. The will-change of this object announces every change of `presets`.
class CustomPresetStore : public Observable {
public:
    /// `folder` is created (mode 0700) if it can be; an empty path means that there is nowhere to keep anything.
    explicit CustomPresetStore(const std::filesystem::path& folder);

    /// In the order of creation. Callers assign; nothing is written before `save`.
    Property<std::vector<FilterPreset>> presets{*this};

    [[nodiscard]] const std::filesystem::path& fileUrl() const { return file_; }

    /// Writes the list; the file is the old one or the new one, never a part.
    /// Errors: `InvalidInput` (a preset that cannot be written), else those of writing. The list in memory stays.
    Result<void> save();

    /// Replaces the first preset with this one's id and saves; without such a preset nothing happens.
    Result<void> update(const FilterPreset& preset);

    /// Replaces or appends each of `incoming` by id, and saves: all of them or, on an error, none. A failure is for the
    /// caller to tell.
    Result<void> adopt(std::span<const FilterPreset> incoming);

private:
    [[nodiscard]] Result<void> write(const std::vector<FilterPreset>& list);

    std::filesystem::path file_;
    /// The file holds something that we could not read and must not lose.
    bool holdsUnreadFile_ = false;
};

}  // namespace dravo
