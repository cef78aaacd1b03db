#include "display/original_gamma_store.h"

#include <algorithm>
#include <array>
#include <utility>

#include "base/files.h"
#include "base/localized.h"
#include "base/report.h"
#include "display/display_access.h"
#include "display/table_json.h"

namespace dravo {
namespace {

constexpr const char* kFileName = "original_gamma.json";
/// Sixteen displays of the longest hardware tables need a tenth of it.
constexpr std::size_t kMaxFileSize = 16U << 20U;

bool exists(const std::filesystem::path& path) {
    std::error_code ignored;
    return std::filesystem::exists(std::filesystem::symlink_status(path, ignored));
}

std::string whyNotHome(const std::string& reason) {
    return reason.empty() ? localized("there is no home directory") : reason;
}

}  // namespace

OriginalGammaStore::OriginalGammaStore(DisplayServer& server, DataFolder folder)
    : server_(server), folder_(std::move(folder)) {}

void OriginalGammaStore::ensureDirectory() {
    if (!folder_.home.empty()) static_cast<void>(dravo::ensureDirectory(folder_.home, 0700));
}

void OriginalGammaStore::saveIfAbsent() {
    ensureDirectory();
    if (!damaged_.empty()) return;
    if (!isBehind_ && std::ranges::any_of(ours_, exists)) return;
    const auto displays = onlineDisplayIDs(server_);
    if (!displays) return;
    addTables(*displays);
    write();
}

void OriginalGammaStore::includeDisplays(std::span<const DisplayId> displays) {
    if (damaged_.empty() && addTables(displays) && !ours_.empty()) write();
}

bool OriginalGammaStore::restoreIfNeeded() {
    readSaved();
    if (!ours_.empty() || !damaged_.empty()) loadOwnTables(!damaged_.empty());
    return !ours_.empty();
}

void OriginalGammaStore::continueRun() { readSaved(); }

void OriginalGammaStore::readSaved() {
    for (const auto& path : paths()) takeOver(path);
    isBehind_ = !ours_.empty();
    if (!damaged_.empty()) server_.distrustFoundTables();
    if (!ours_.empty()) server_.declareOwnTables(tables_);
}

std::vector<DisplayId> OriginalGammaStore::knownDisplays() const {
    std::vector<DisplayId> displays;
    for (const auto& [display, table] : tables_) displays.push_back(display);
    return displays;
}

void OriginalGammaStore::clear() {
    for (const auto& path : ours_) static_cast<void>(removeFile(path));
    for (const auto& path : damaged_) static_cast<void>(setAsideAsBad(path));
    tables_.clear();
    ours_.clear();
    damaged_.clear();
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
    auto tables = text ? decodeTables(*text) : Result<std::map<DisplayId, GammaTable>>(text.error());
    if (!tables) {
        damaged_.insert(path);
        const std::string fault = text ? path.string() + ": " + tables.error().message : text.error().message;
        reportOnce("damaged-tables",
                   filled(localized("%@; it is kept as .bad, and displays without a color profile are given a "
                                    "neutral table"),
                          {fault}));
        return;
    }
    // The folder in the home directory comes first, and its entries win.
    tables_.merge(*tables);
    ours_.insert(path);
}

void OriginalGammaStore::loadOwnTables(bool alsoUnknown) {
    const auto displays = onlineDisplayIDs(server_);
    if (!displays) return;
    std::vector<DisplayTable> loads;
    for (const DisplayId display : *displays) {
        if (const auto saved = tables_.find(display); saved != tables_.end()) {
            loads.push_back({display, saved->second});
        } else if (alsoUnknown) {
            if (auto own = server_.ownTable(display)) loads.push_back({display, std::move(*own)});
        }
    }
    // A display that refuses stays in the file, and the server knows its own table.
    if (!loads.empty()) static_cast<void>(server_.loadTables(loads));
}

bool OriginalGammaStore::addTables(std::span<const DisplayId> displays) {
    bool added = false;
    for (const DisplayId display : displays) {
        if (tables_.contains(display)) continue;
        auto own = server_.ownTable(display);
        if (!own || own->size() < 2) continue;
        tables_.emplace(display, std::move(*own));
        added = true;
    }
    return added;
}

void OriginalGammaStore::write() {
    const std::string text = encodeTables(tables_);
    isBehind_ = !ours_.empty();
    std::string reason;
    for (const auto& path : paths()) {
        static_cast<void>(dravo::ensureDirectory(path.parent_path(), 0700));
        const WriteOptions options{.sync = !onUnsynced};
        const auto written =
            ours_.contains(path) ? writeFileAtomically(path, text, options) : writeFileIfAbsent(path, text, options);
        if (!written) {
            reason = written.error().message;
            continue;
        }
        if (folder_.home.empty() || path.parent_path() != folder_.home)
            reportOnce("tables-in-runtime-folder",
                       filled(localized("%1$@; the displays' own tables are saved in %2$@ until you log out"),
                              {whyNotHome(reason), path.string()}));
        for (const auto& other : ours_)
            if (other != path) static_cast<void>(removeFile(other));
        ours_ = {path};
        isBehind_ = false;
        if (onUnsynced) onUnsynced(path);
        return;
    }
    reportOnce("tables-not-saved",
               filled(localized("%@; the displays' own tables are not saved, and a crash would leave the filter on "
                                "screen"),
                      {whyNotHome(reason)}));
}

}  // namespace dravo
