#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "base/data_folder.h"
#include "base/result.h"
#include "display/displays.h"
#include "platform/plasma/filter_profile.h"

namespace dravo::plasma {

/// The profiles that we give the displays: two files for each, in turn, as the compositor does not read one again whose
/// path it has. They lie in the runtime folder, where there is one: writing them touches no disk, and none is left
/// after a log-out.
///
/// Thread: any; every call reads or writes the folder alone. Lifetime: `remove` ends the files', nothing else.
class ProfileFiles {
public:
    explicit ProfileFiles(const DataFolder& folder);

    /// Whether a path is that of a file of ours, which need not be there.
    [[nodiscard]] bool isOurs(const std::string& path) const;

    /// The file that is next for a display which has the one at `current`, or none of ours.
    [[nodiscard]] std::string nextPath(DisplayId display, const std::string& current) const;

    /// Writes it whole. Errors: those of `writeFileAtomically`.
    [[nodiscard]] Result<void> write(const std::string& path, const ProfileBytes& profile) const;

    /// The table that the profile at `path` carries; none without one.
    [[nodiscard]] static std::optional<RampLevels> tableAt(const std::string& path);

    /// The bytes of a person's profile; none where there is none to be carried on.
    [[nodiscard]] static std::optional<ProfileBytes> profileAt(const std::string& path);

    /// Removes all of them.
    void remove() const;

private:
    std::vector<std::filesystem::path> folders_;  ///< Where they may lie; they are written into the first.
};

}  // namespace dravo::plasma
