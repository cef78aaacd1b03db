#include "display/original_gamma_store.h"

#include <algorithm>
#include <array>
#include <utility>

#include "base/files.h"
#include "base/localized.h"
#include "base/report.h"
#include "display/table_json.h"

namespace dravo {
namespace {

constexpr const char* kFileName = "original_gamma.json";
/// Sixteen displays of the longest hardware tables need a tenth of it.
constexpr std::size_t kMaxFileSize = 16U << 20U;

Sentence whyNotHome(const Sentence& reason) {
    return reason.empty() ? Sentence(textKey("there is no home directory")) : reason;
}

}  // namespace

OriginalGammaStore::OriginalGammaStore(DataFolder folder) : folder_(std::move(folder)) {}

void OriginalGammaStore::ensureDirectory() {
    if (!folder_.home.empty()) static_cast<void>(dravo::ensureDirectory(folder_.home, 0700));
}

bool OriginalGammaStore::restoreIfNeeded() {
    for (const auto& path : paths()) takeOver(path);
    isBehind_ = true;
    // A file that does not say may be of a version that never did.
    mayHaveLeftNightLightOff_ = saved_.nightLightIsOurs;
    mayHaveLeftGray_ = isLost() || (!ours_.empty() && saved_.grayIsOurs.value_or(true));
    return !ours_.empty() && !holdsOnlyProfiles();
}

bool OriginalGammaStore::holdsOnlyProfiles() const {
    return saved_.own.empty() && saved_.grayIsOurs == false && !saved_.nightLightIsOurs && !saved_.profiles.empty();
}

std::vector<DisplayId> OriginalGammaStore::knownDisplays() const {
    std::vector<DisplayId> displays;
    for (const auto& [display, table] : saved_.own) displays.push_back(display);
    return displays;
}

Result<void> OriginalGammaStore::saveIfAbsent(const std::map<DisplayId, GammaTable>& own) {
    isBehind_ = add(own) || isBehind_;
    return writeIfBehind();
}

Result<void> OriginalGammaStore::saveProfiles(const std::map<DisplayId, SavedProfile>& own) {
    for (const auto& [display, profile] : own) {
        SavedProfile& saved = saved_.profiles[display];
        isBehind_ = isBehind_ || saved != profile;
        saved = profile;
    }
    return writeIfBehind();
}

void OriginalGammaStore::forgetProfiles(std::span<const DisplayId> displays) {
    for (const DisplayId display : displays) isBehind_ = saved_.profiles.erase(display) > 0 || isBehind_;
}

Result<void> OriginalGammaStore::writeIfBehind() {
    if (!damaged_.empty()) return {};
    if (!saved_.grayIsOurs) saved_.grayIsOurs = false;
    isBehind_ = isBehind_ || ours_.empty();
    return isBehind_ ? write() : Result<void>{};
}

Result<void> OriginalGammaStore::saveAgain(const std::map<DisplayId, GammaTable>& own) {
    if (!damaged_.empty())
        return Error{ErrorCode::InvalidInput,
                     Sentence(textKey("%@ cannot be understood"), {damaged_.begin()->string()})};
    add(own);
    // Not what this process remembers of the file, but what the next one will find.
    std::erase_if(ours_, isAbsent);
    return write();
}

void OriginalGammaStore::setGrayIsOurs(bool isOurs) {
    if (saved_.grayIsOurs == isOurs) return;
    saved_.grayIsOurs = isOurs;
    writeNote();
}

void OriginalGammaStore::setNightLightIsOurs(bool isOurs) {
    if (saved_.nightLightIsOurs == isOurs) return;
    saved_.nightLightIsOurs = isOurs;
    writeNote();
}

void OriginalGammaStore::writeNote() {
    isBehind_ = true;
    if (damaged_.empty()) static_cast<void>(write());
}

void OriginalGammaStore::clear() {
    for (const auto& path : damaged_) static_cast<void>(setAsideAsBad(path));
    damaged_.clear();
    saved_ = {{}, false, false, std::move(saved_.profiles)};
    if (holdsOnlyProfiles()) return static_cast<void>(write());
    for (const auto& path : ours_) static_cast<void>(removeFile(path));
    saved_ = {};
    ours_.clear();
    isBehind_ = false;
}

std::vector<std::filesystem::path> OriginalGammaStore::paths() const {
    std::vector<std::filesystem::path> files;
    for (const auto& folder : {folder_.home, folder_.runtime})
        if (!folder.empty()) files.push_back(folder / kFileName);
    return files;
}

void OriginalGammaStore::takeOver(const std::filesystem::path& path) {
    if (isAbsent(path)) return;
    const auto text = readFile(path, kMaxFileSize);
    // Another user's file says nothing about how our own runs ended.
    if (!text && (text.error().code == ErrorCode::NotFound || text.error().code == ErrorCode::PermissionDenied)) return;
    auto tables = text ? decodeTables(*text) : Result<SavedTables>(text.error());
    if (!tables) {
        damaged_.insert(path);
        const Sentence fault = text ? withDetail(path.string(), tables.error().message) : text.error().message;
        reportOnce("damaged-tables",
                   Sentence(textKey("%@; it is kept as .bad, and displays without a color profile are given a "
                                    "neutral table"),
                            {fault}));
        return;
    }
    // The folder in the home directory comes first, and its entries win.
    saved_.own.merge(tables->own);
    saved_.profiles.merge(tables->profiles);
    // Gray that one of two runs has left is gray.
    saved_.nightLightIsOurs = saved_.nightLightIsOurs || tables->nightLightIsOurs;
    if (tables->grayIsOurs) saved_.grayIsOurs = saved_.grayIsOurs.value_or(false) || *tables->grayIsOurs;
    ours_.insert(path);
}

bool OriginalGammaStore::add(const std::map<DisplayId, GammaTable>& own) {
    const std::size_t before = saved_.own.size();
    for (const auto& [display, table] : own)
        if (table.size() >= 2) saved_.own.emplace(display, table);
    return saved_.own.size() != before;
}

Result<void> OriginalGammaStore::write() {
    const std::string text = encodeTables(saved_);
    Error reason{ErrorCode::NotFound, {}};
    for (const auto& path : paths()) {
        static_cast<void>(dravo::ensureDirectory(path.parent_path(), 0700));
        const WriteOptions options{.sync = !onUnsynced};
        const auto written =
            ours_.contains(path) ? writeFileAtomically(path, text, options) : writeFileIfAbsent(path, text, options);
        if (!written) {
            reason = written.error();
            continue;
        }
        if (folder_.home.empty() || path.parent_path() != folder_.home)
            reportOnce("tables-in-runtime-folder",
                       Sentence(textKey("%1$@; the displays' own tables are saved in %2$@ until you log out"),
                                {whyNotHome(reason.message), path.string()}));
        for (const auto& other : ours_)
            if (other != path) static_cast<void>(removeFile(other));
        ours_ = {path};
        isBehind_ = false;
        if (onUnsynced) onUnsynced(path);
        return {};
    }
    reportOnce("tables-not-saved",
               Sentence(textKey("%@; the displays' own tables are not saved, and a crash would leave the filter on "
                                "screen"),
                        {whyNotHome(reason.message)}));
    return Error{reason.code, whyNotHome(reason.message), reason.nativeCode};
}

}  // namespace dravo
