#pragma once

#include <filesystem>
#include <functional>
#include <map>
#include <set>
#include <span>
#include <string>
#include <vector>

#include "base/data_folder.h"
#include "base/result.h"
#include "display/table_json.h"

namespace dravo {

/// Keeps the displays' own tables or profiles in a file for as long as we may have written others, and whether we
/// switched everything to gray or a night light off: a file that is still there at the next start is the mark of an
/// unclean end, and says what to give back. It knows no display server.
///
/// The file is `original_gamma.json` in `~/.dravo`, or in the runtime folder where that cannot be written; the text
/// is that of `encodeTables`, in native lengths. It is written whole or not at all, and a file that this object has
/// neither read nor written is never replaced. Tables once in it do not change before `clear`. A profile stays until
/// its display has it back, also over the ends of runs that cannot reach that display.
///
/// A write is in place for every later process at once, so that it protects the load that follows it without delay; the
/// sync against a power cut, which costs milliseconds, may wait behind that load (`onUnsynced`).
///
/// What a person should know is said once on standard error.
/// Thread: main thread. One object per process, and only while that process holds the lock on the folder.
class OriginalGammaStore {
public:
    explicit OriginalGammaStore(DataFolder folder);

    void ensureDirectory();

    /// Called with a file just written that has yet to be synced; without it, every write is synced at once.
    std::function<void(const std::filesystem::path&)> onUnsynced;

    /// Reads what an earlier run has left. True if there was a file that could be understood, with more in it than
    /// profiles, which their displays show for themselves. One that could not be understood makes `isLost` true and
    /// stays untouched until `clear`.
    bool restoreIfNeeded();

    [[nodiscard]] const std::map<DisplayId, GammaTable>& tables() const { return saved_.own; }
    [[nodiscard]] const std::map<DisplayId, SavedProfile>& profiles() const { return saved_.profiles; }
    /// Those with a table.
    [[nodiscard]] std::vector<DisplayId> knownDisplays() const;
    /// A run ended uncleanly, and what it saved cannot be understood.
    [[nodiscard]] bool isLost() const { return !damaged_.empty(); }
    /// Whether an earlier run that ended uncleanly may have left everything gray.
    [[nodiscard]] bool mayHaveLeftGray() const { return mayHaveLeftGray_; }

    /// Adds the tables of displays that the file does not name, and writes it if that changes anything, or if an
    /// earlier write failed. A file of this run that is there and says it all stays as it is, and a damaged one too.
    /// Errors: those of `writeFileAtomically`; the next call tries again.
    Result<void> saveIfAbsent(const std::map<DisplayId, GammaTable>& own);

    /// The same for profiles; but what is told replaces what the file says of these displays.
    Result<void> saveProfiles(const std::map<DisplayId, SavedProfile>& own);
    /// These displays have their profiles back. The file follows with its next write, or `clear`.
    void forgetProfiles(std::span<const DisplayId> displays);

    /// `saveIfAbsent`, whoever may have removed or changed the file meanwhile.
    /// Errors: also `InvalidInput` (a damaged file is in its place).
    [[nodiscard]] Result<void> saveAgain(const std::map<DisplayId, GammaTable>& own);

    /// Whether an earlier run that ended uncleanly may have left the desktop's night light switched off.
    [[nodiscard]] bool mayHaveLeftNightLightOff() const { return mayHaveLeftNightLightOff_; }

    /// Notes whether everything is gray because of us. Comes before it is.
    void setGrayIsOurs(bool isOurs);

    /// Notes whether the desktop's night light is off because of us. Comes before it is.
    void setNightLightIsOurs(bool isOurs);

    /// Whether something is known that could not be written.
    [[nodiscard]] bool isBehind() const { return isBehind_ && damaged_.empty(); }

    /// The displays have been given back, and the server has confirmed it: removes the file, or all of it but profiles
    /// that have not been given back. One that could not be understood is kept as `.bad`, as it may be all that is
    /// known of a calibration.
    void clear();

private:
    [[nodiscard]] std::vector<std::filesystem::path> paths() const;
    void takeOver(const std::filesystem::path& path);
    bool add(const std::map<DisplayId, GammaTable>& own);
    [[nodiscard]] bool holdsOnlyProfiles() const;
    Result<void> writeIfBehind();
    Result<void> write();
    void writeNote();

    DataFolder folder_;
    SavedTables saved_;
    std::set<std::filesystem::path> ours_;  ///< Files that we have understood or written, and may replace.
    std::set<std::filesystem::path> damaged_;
    bool mayHaveLeftGray_ = false;
    bool mayHaveLeftNightLightOff_ = false;
    bool isBehind_ = false;  ///< No file of ours says all of `saved_` in the right folder.
};

}  // namespace dravo
