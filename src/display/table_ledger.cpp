#include "display/table_ledger.h"

#include <cassert>
#include <utility>

namespace dravo {

void TableLedger::declareOwnTables(const std::map<DisplayId, GammaTable>& tables) {
    for (const auto& [display, table] : tables) {
        if (!isLoadable(table)) continue;
        books_[display].declared = table;
        books_[display].writtenTo = false;
    }
}

void TableLedger::distrustFoundTables() { foundIsTrusted_ = false; }

void TableLedger::setProfile(DisplayId display, std::optional<GammaTable> vcgt) {
    if (vcgt && !isLoadable(*vcgt)) vcgt.reset();
    books_[display].profile = std::move(vcgt);
}

void TableLedger::setOwn(DisplayId display, const GammaTable& table) {
    if (isLoadable(table)) books_[display].declared = table;
}

bool TableLedger::isShowing(CrtcId crtc, DisplayId display) const {
    const auto found = crtcs_.find(crtc);
    return found != crtcs_.end() && found->second.showing == display;
}

void TableLedger::appeared(DisplayId display, CrtcId id, const RampLevels& held) {
    Book& book = books_[display];
    Crtc& crtc = crtcs_[id];
    crtc.size = held.size();
    if (!book.found) {
        const bool holdsOurs = crtc.dirty && crtc.written == held;
        const auto inherited = holdsOurs ? own(crtc.last) : std::nullopt;
        book.found = inherited ? *inherited : toTable(held);
        book.foundIsFinal = inherited.has_value();
    }
    crtc.showing = display;
    crtc.last = display;
    crtc.writtenIsCurrent = false;
    crtc.owed = crtc.dirty || crtc.restoredWhileOff ||
                (mayHoldRemains(book) && held != toLevels(calibration(display), held.size()));
}

void TableLedger::left(CrtcId id) {
    const auto found = crtcs_.find(id);
    if (found == crtcs_.end()) return;
    // A debt of this run stays in the books as dirt; one of an earlier run belongs to the display, not the CRTC.
    found->second.showing.reset();
    found->second.owed = false;
}

void TableLedger::removed(CrtcId crtc) { crtcs_.erase(crtc); }

bool TableLedger::needsFirstLook(DisplayId display) const {
    const auto book = books_.find(display);
    if (book == books_.end() || !book->second.found || book->second.foundIsFinal) return false;
    if (book->second.declared || !foundIsTrusted_) return false;
    for (const auto& [id, crtc] : crtcs_)
        if (crtc.showing == display && crtc.dirty) return false;
    return true;
}

void TableLedger::firstLook(DisplayId display, const RampLevels& held) {
    if (needsFirstLook(display)) books_[display].found = toTable(held);
}

void TableLedger::wrote(CrtcId id, const RampLevels& levels) {
    const auto found = crtcs_.find(id);
    if (found == crtcs_.end()) return;
    Crtc& crtc = found->second;
    const auto ownTable = own(crtc.last);
    const bool isOurs = !ownTable || (levels != toLevels(*ownTable, levels.size()) &&
                                      levels != toLevels(calibration(crtc.last), levels.size()));
    crtc.dirty = crtc.dirty || isOurs;
    crtc.written = levels;
    crtc.writtenIsCurrent = true;
    Book& book = books_[crtc.last];
    book.foundIsFinal = true;
    book.writtenTo = true;
}

bool TableLedger::holds(CrtcId id, const RampLevels& levels) const {
    const auto found = crtcs_.find(id);
    return found != crtcs_.end() && found->second.writtenIsCurrent && found->second.written == levels;
}

std::optional<RampLevels> TableLedger::carried(CrtcId id) const {
    const auto found = crtcs_.find(id);
    return found != crtcs_.end() && found->second.dirty ? found->second.written : std::nullopt;
}

void TableLedger::forgetContents() {
    for (auto& [id, crtc] : crtcs_) crtc.writtenIsCurrent = false;
}

std::vector<CrtcLevels> TableLedger::owedCalibrations() const {
    std::vector<CrtcLevels> owed;
    for (const auto& [id, crtc] : crtcs_)
        if (crtc.owed) owed.push_back(calibrationFor(id, crtc));
    return owed;
}

void TableLedger::restored(CrtcId id, const RampLevels& levels) {
    const auto found = crtcs_.find(id);
    if (found == crtcs_.end() || found->second.written != levels) return;
    found->second.dirty = false;
    found->second.owed = false;
    found->second.restoredWhileOff = !found->second.showing;
}

std::vector<CrtcLevels> TableLedger::calibrations() const {
    std::vector<CrtcLevels> all;
    for (const auto& [id, crtc] : crtcs_)
        if (crtc.dirty || crtc.owed) all.push_back(calibrationFor(id, crtc));
    return all;
}

std::optional<GammaTable> TableLedger::own(DisplayId display) const {
    const auto found = books_.find(display);
    if (found == books_.end()) return std::nullopt;
    const Book& book = found->second;
    if (book.declared) return book.declared;
    if (foundIsTrusted_) return book.found;
    return book.profile ? *book.profile : GammaTable::identity();
}

GammaTable TableLedger::calibration(DisplayId display) const {
    const auto book = books_.find(display);
    if (book != books_.end() && book->second.profile) return *book->second.profile;
    return own(display).value_or(GammaTable::identity());
}

bool TableLedger::mayHoldRemains(const Book& book) const {
    return !book.writtenTo && (book.declared.has_value() || !foundIsTrusted_);
}

CrtcLevels TableLedger::calibrationFor(CrtcId id, const Crtc& crtc) const {
    return {id, toLevels(calibration(crtc.last), crtc.size)};
}

}  // namespace dravo
