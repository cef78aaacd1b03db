#pragma once

#include <filesystem>

namespace dravo {

/// Where Dravo keeps what has to survive its own end: the displays' own tables, the lock, the person's presets and
/// settings. Names only, all of them absolute; nothing here touches the disk.
struct DataFolder {
    std::filesystem::path home;     ///< `~/.dravo`; empty if the user has no home directory.
    std::filesystem::path runtime;  ///< `$XDG_RUNTIME_DIR/dravo`, for when `home` cannot be written; may be empty.
    /// Where every program keeps its settings: `$XDG_CONFIG_HOME`, else `~/.config`; empty without a home directory.
    std::filesystem::path settings = {};

    /// This process's user's: the home directory is `$HOME`, else the one in the user database.
    [[nodiscard]] static DataFolder ofThisUser();
};

}  // namespace dravo
