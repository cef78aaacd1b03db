#pragma once

#include <filesystem>
#include <functional>
#include <map>
#include <set>
#include <span>
#include <string>
#include <vector>

#include "base/data_folder.h"
#include "display/display_server.h"

namespace dravo {

/// Keeps the displays' own tables in a file for as long as we may have written others: a file that is still there at
/// the next start is the mark of an unclean end, and says what to give back.
///
/// The file is `original_gamma.json` in `~/.dravo`, or in the runtime folder where that cannot be written; the text
/// is that of `encodeTables`, in native lengths. It is written whole or not at all, and a file that this object has
/// neither read nor written is never replaced. Entries once in it do not change before `clear`.
///
/// A write is in place for every later process at once, so that it protects the load that follows it without delay; the
/// sync against a power cut, which costs milliseconds, may wait behind that load (`onUnsynced`).
///
/// Nothing fails outwardly; what a person should know is said once on standard error.
/// Thread: main thread. One object per process, and only while that process holds the lock on the folder.
class OriginalGammaStore {
public:
    OriginalGammaStore(DisplayServer& server, DataFolder folder);

    void ensureDirectory();

    /// Called with a file just written that has yet to be synced; without it, every write is synced at once.
    std::function<void(const std::filesystem::path&)> onUnsynced;

    /// Saves the own table of every display that is on, unless a file of this run is already there. After
    /// `restoreIfNeeded` it completes the file found then: entries of absent displays stay in it.
    void saveIfAbsent();

    /// Adds displays that the file does not know. Comes before our first write to them.
    void includeDisplays(std::span<const DisplayId> displays);

    /// Gives the displays back what an earlier run left in the file, and declares all of it to the server. True if
    /// there was a file that could be understood.
    ///
    /// The file stays until `saveIfAbsent` has completed it or `clear` removes it: a kill in between loses nothing.
    /// One that cannot be understood stays untouched until `clear`; as it marks an unclean end all the same, what is
    /// found on the displays is distrusted, and they get their calibration.
    bool restoreIfNeeded();

    /// Goes on with the file of a run that handed its displays over as they are: declares what it says to the server
    /// and loads nothing.
    void continueRun();

    /// Displays whose own tables the file names, also absent ones. Empty before `restoreIfNeeded` or `saveIfAbsent`.
    [[nodiscard]] std::vector<DisplayId> knownDisplays() const;

    /// Removes the file: the displays have been given back, and the server has confirmed it. One that could not be
    /// understood is kept as `.bad`, as it may be all that is known of a calibration.
    void clear();

private:
    [[nodiscard]] std::vector<std::filesystem::path> paths() const;
    void readSaved();
    void takeOver(const std::filesystem::path& path);
    void loadOwnTables(bool alsoUnknown);
    bool addTables(std::span<const DisplayId> displays);
    void write();

    DisplayServer& server_;
    DataFolder folder_;
    std::map<DisplayId, GammaTable> tables_;
    std::set<std::filesystem::path> ours_;  ///< Files that we have understood or written, and may replace.
    std::set<std::filesystem::path> damaged_;
    bool isBehind_ = false;  ///< A file of ours does not say all of `tables_`, or not in the right folder.
};

}  // namespace dravo
