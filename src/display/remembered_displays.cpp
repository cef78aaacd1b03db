#include "display/remembered_displays.h"

#include <algorithm>
#include <iterator>
#include <utility>

#include "display/idle_remains.h"

namespace dravo {
namespace {

using namespace std::chrono_literals;

/// For whoever waits for the server's confirmation.
constexpr std::chrono::milliseconds kPatience{2000};
constexpr Duration kRetryDelay = 1s;
/// How often a file that could not be written is tried again while nothing else is.
constexpr Duration kSaveRetryPeriod = 30s;

bool hasTable(std::size_t size) { return size >= 2; }

Error disconnected() { return {ErrorCode::Disconnected, textKey("the display server is gone")}; }
Error unanswered() { return {ErrorCode::Busy, textKey("the display server does not answer")}; }

}  // namespace

RememberedDisplays::RememberedDisplays(TableDevice& device, OriginalGammaStore& store, Scheduler& scheduler)
    : device_(device), store_(store), scheduler_(scheduler) {}

RememberedDisplays::~RememberedDisplays() = default;

bool RememberedDisplays::begin(Beginning how) {
    if (how == Beginning::looking) {
        adopt();
        return false;
    }
    const bool isUnderstood = store_.restoreIfNeeded();
    const bool isFileGone = how == Beginning::goingOn && !isUnderstood;
    if (store_.isLost() || isFileGone || how == Beginning::doubtful) ledger_.distrustFoundTables();
    if (isUnderstood) {
        identities_.know(store_.knownDisplays());
        ledger_.declareOwnTables(store_.tables());
    }
    adopt();
    if (isUnderstood) idleRemains_ = remainsOnIdleCrtcs(device_.topology(), identities_, store_.tables());
    if (how != Beginning::doubtful) save();
    believeTopology();
    deviceChanges_ = device_.onChange([this] { serverChanged(); });
    foreignWrites_ = device_.onForeignWrite([this] { contentsChanged(); });
    deviceLoss_ = device_.onLoss([this] { isGone_ = true; });
    return isUnderstood;
}

// Until the loop's next turn.
void RememberedDisplays::believeTopology() {
    topologyIsFresh_ = true;
    scheduler_.post(whileHere([this] { topologyIsFresh_ = false; }));
}

void RememberedDisplays::adopt() {
    const DeviceTopology& topology = device_.topology();
    std::vector<OutputIdentity> identities;
    std::vector<const DeviceOutput*> outputs;
    std::vector<Display> displays;
    std::vector<CrtcId> crtcs;
    for (const auto& [crtc, levels] : topology.crtcs) {
        crtcs.push_back(crtc);
        std::vector<const DeviceOutput*> mirrored;
        std::vector<std::string> connectors;
        for (const auto& output : topology.outputs) {
            if (output.crtc != crtc) continue;
            mirrored.push_back(&output);
            connectors.push_back(output.connector);
        }
        if (mirrored.empty()) {
            ledger_.left(crtc);
            continue;
        }
        outputs.push_back(mirrored[representativeOutput(connectors)]);
        identities.push_back({outputs.back()->connector, outputs.back()->edid});
        displays.push_back({{}, outputs.back()->connector, crtc, levels.size(), {}});
    }
    for (const CrtcId crtc : crtcs_)
        if (std::ranges::find(crtcs, crtc) == crtcs.end()) ledger_.removed(crtc);
    crtcs_ = std::move(crtcs);

    const auto ids = identities_.assign(identities);
    for (std::size_t i = 0; i < displays.size(); ++i) {
        Display& display = displays[i];
        display.id = ids[i];
        if (const Display* const before = find(display.id)) display.refusal = before->refusal;
        if (!hasTable(display.tableSize)) continue;
        const auto crtc = std::ranges::find(topology.crtcs, display.crtc, &CrtcLevels::crtc);
        ledger_.setProfile(display.id, outputs[i]->calibration);
        if (outputs[i]->own) ledger_.setOwn(display.id, *outputs[i]->own);
        if (!ledger_.isShowing(display.crtc, display.id)) ledger_.appeared(display.id, display.crtc, crtc->levels);
    }
    displays_ = std::move(displays);
}

void RememberedDisplays::serverChanged() {
    if (isGivenBack_) return;
    believeTopology();
    const auto before = list();
    adopt();
    ledger_.forgetContents();
    publishGuard();
    const auto now = list();
    if (!before || !now || *before != *now) listChanges_.deliver();
    loadsNeeded_.deliver();
    payWhatIsOwed();
}

void RememberedDisplays::contentsChanged() {
    if (isGivenBack_) return;
    adopt();
    publishGuard();
    loadsNeeded_.deliver();
}

void RememberedDisplays::save() {
    const auto isKnown = [this](const Display& display) {
        return !hasTable(display.tableSize) || store_.tables().contains(display.id);
    };
    if (!store_.isBehind() && std::ranges::all_of(displays_, isKnown)) return;
    static_cast<void>(store_.saveIfAbsent(ownTables()));
    nextSave_ = scheduler_.steadyNow() + kSaveRetryPeriod;
}

std::map<DisplayId, GammaTable> RememberedDisplays::ownTables() const {
    std::map<DisplayId, GammaTable> tables;
    for (const auto& display : displays_)
        if (auto own = ledger_.own(display.id)) tables.emplace(display.id, *std::move(own));
    return tables;
}

void RememberedDisplays::publishGuard() {
    auto own = duesWithIdleRemains();
    guarded_.clear();
    for (const auto& [crtc, levels] : own) guarded_.insert(crtc);
    device_.guard(std::move(own));
}

Result<void> RememberedDisplays::prepareHandOver() {
    finishFade();
    return store_.saveAgain(ownTables());
}

Result<std::vector<DisplayDescription>> RememberedDisplays::list() {
    if (isGone_) return disconnected();
    std::vector<DisplayDescription> descriptions;
    for (const auto& display : displays_) {
        auto& row = descriptions.emplace_back();
        row.id = display.id;
        row.name = display.connector;
        row.tableSize = display.tableSize;
        row.state = !hasTable(display.tableSize) ? DisplayState::noTable : DisplayState::ready;
        row.problem = row.state == DisplayState::noTable ? Sentence{textKey("its driver has no transfer table")}
                      : device_.isGuarded()              ? display.refusal
                                                         : Sentence{kUnguarded};
        if (row.state == DisplayState::ready && !row.problem.empty()) row.state = DisplayState::refused;
    }
    return descriptions;
}

std::vector<Result<GammaTable>> RememberedDisplays::held(std::span<const DisplayId> displays) {
    std::vector<CrtcId> crtcs;
    for (const DisplayId id : displays)
        if (const Display* const display = find(id)) crtcs.push_back(display->crtc);
    const auto answer = std::make_shared<Result<TableDevice::Levels>>(disconnected());
    device_.read(crtcs, [answer](Result<TableDevice::Levels> levels) { *answer = std::move(levels); });
    device_.finish(kPatience);

    std::vector<Result<GammaTable>> tables;
    std::size_t next = 0;
    for (const DisplayId id : displays) {
        const Display* const display = find(id);
        if (isGone_ || (display && !*answer)) {
            tables.emplace_back(isGone_ ? disconnected() : answer->error());
        } else if (!display) {
            tables.emplace_back(Error{ErrorCode::NotFound, textKey("this display is not on")});
        } else if (const auto& levels = (**answer)[next++]; !hasTable(levels.size())) {
            tables.emplace_back(Error{ErrorCode::Unsupported, textKey("its driver has no transfer table")});
        } else {
            tables.emplace_back(toTable(levels));
        }
    }
    return tables;
}

const RememberedDisplays::Display* RememberedDisplays::find(DisplayId id) const {
    const auto found = std::ranges::find(displays_, id, &Display::id);
    return found == displays_.end() ? nullptr : &*found;
}

RememberedDisplays::Display* RememberedDisplays::displayOn(CrtcId crtc) {
    const auto found = std::ranges::find(displays_, crtc, &Display::crtc);
    return found == displays_.end() ? nullptr : &*found;
}

RememberedDisplays::Ramps RememberedDisplays::filterRamps() const {
    Ramps ramps;
    if (!device_.isGuarded()) return ramps;
    for (const auto& display : displays_)
        if (hasTable(display.tableSize) && ramps.size() < kMaxDisplays)
            ramps.push_back({display.crtc, toLevels(*wish_, display.tableSize)});
    return ramps;
}

void RememberedDisplays::show(const std::optional<GammaTable>& wish, Fade fade) {
    if (isGivenBack_ || (wish && !isLoadable(*wish))) return;
    const bool wasFading = dropWish();
    hasBeenTold_ = true;
    wish_ = wish;
    if (!wish_ && !topologyIsFresh_) askForProfiles();
    if (fade == Fade::animated) {
        startFade();
    } else {
        loadAtOnce();
    }
    if (wasFading && !fade_) fadeEnds_.deliver();
}

bool RememberedDisplays::dropWish() {
    ++*wishNumber_;
    retry_.cancel();
    frameTimer_.cancel();
    wish_.reset();
    return std::exchange(fade_, std::nullopt).has_value();
}

// They come and go without an event; what they say now counts.
void RememberedDisplays::askForProfiles() {
    if (device_.refresh()) adopt();
}

void RememberedDisplays::loadAtOnce() {
    if (wish_) {
        loadFilter(filterRamps());
    } else {
        takeBack({});
    }
}

// What carries ours holds what we sent; what another program put over it meanwhile is no place to start from.
void RememberedDisplays::startFade() {
    const Ramps targets = wish_ ? filterRamps() : ledger_.calibrations();
    std::vector<CrtcId> unknown;
    for (const auto& target : targets)
        if (displayOn(target.crtc) && !ledger_.carried(target.crtc)) unknown.push_back(target.crtc);
    if (unknown.empty()) return fadeTo(targets, {});
    device_.read(unknown, forThisWish([this, targets, unknown](const Result<TableDevice::Levels>& levels) {
                     std::map<CrtcId, RampLevels> found;
                     if (levels)
                         for (std::size_t i = 0; i < unknown.size(); ++i) found.emplace(unknown[i], (*levels)[i]);
                     fadeTo(targets, found);
                 }));
}

void RememberedDisplays::fadeTo(const Ramps& targets, const std::map<CrtcId, RampLevels>& found) {
    std::vector<TableFade::Way> ways;
    Ramps atOnce;
    for (const auto& target : targets) {
        const Display* const display = displayOn(target.crtc);
        auto from = ledger_.carried(target.crtc);
        if (const auto held = found.find(target.crtc); held != found.end() && hasTable(held->second.size())) {
            from = held->second;
            if (display) ledger_.firstLook(display->id, held->second);
        }
        if (display && from && from->size() == target.levels.size()) {
            ways.push_back({target.crtc, *std::move(from), target.levels});
        } else if (wish_) {
            atOnce.push_back(target);
        }
    }
    if (std::ranges::all_of(ways, [](const TableFade::Way& way) { return way.from == way.to; })) return loadAtOnce();
    loadFilter(atOnce);
    fade_.emplace(std::move(ways), scheduler_.steadyNow());
    showDueFrame();
}

void RememberedDisplays::showDueFrame() {
    const SteadyTime now = scheduler_.steadyNow();
    if (fade_->advance(now)) {
        if (fade_->isAtEnd()) {
            // Not left out whatever the server is doing, and a take-back wants its confirmation.
            wish_ ? write(fade_->frame(), {}) : takeBack({});
        } else if (!device_.isBusy()) {
            write(fade_->frame(), {});
        }
    }
    if (!fade_->isOver(now)) {
        frameTimer_ = scheduler_.after(fade_->nextFrame() - now, [this] { showDueFrame(); });
        return;
    }
    fade_.reset();
    fadeEnds_.deliver();
}

void RememberedDisplays::finishFade() {
    if (!fade_) return;
    fade_.reset();
    frameTimer_.cancel();
    loadAtOnce();
    fadeEnds_.deliver();
}

void RememberedDisplays::loadAgain() {
    if (isGivenBack_ || !wish_) return;
    if (!fade_) return loadFilter(filterRamps());
    // A display that came in the middle gets at once what the others are on their way to.
    Ramps ramps = fade_->frame();
    for (const auto& ramp : filterRamps())
        if (std::ranges::find(ramps, ramp.crtc, &CrtcLevels::crtc) == ramps.end()) ramps.push_back(ramp);
    std::erase_if(ramps, [this](const CrtcLevels& ramp) { return !displayOn(ramp.crtc); });
    write(ramps, {});
}

void RememberedDisplays::look() {
    // A fade's next frame, at most 30 ms away, is loaded anyway.
    if (isGivenBack_ || fade_ || !wish_) return;
    if (device_.isGuarded() != wasGuarded_) {
        wasGuarded_ = !wasGuarded_;
        listChanges_.deliver();
    }
    if (store_.isBehind() && scheduler_.steadyNow() >= nextSave_) save();
    Ramps ramps = filterRamps();
    if (const auto isKept = device_.lookAt(ramps)) {
        std::size_t next = 0;
        std::erase_if(
            ramps, [&](const CrtcLevels& ramp) { return (*isKept)[next++] && ledger_.holds(ramp.crtc, ramp.levels); });
    }
    loadFilter(ramps);
}

// What a display is known to hold is read back and written only if somebody changed it.
void RememberedDisplays::loadFilter(const Ramps& ramps) {
    std::vector<CrtcId> doubtful;
    for (const auto& [crtc, levels] : ramps) {
        const Display* const display = displayOn(crtc);
        const bool isNew = display && ledger_.needsFirstLook(display->id) && !topologyIsFresh_;
        if (isNew || ledger_.holds(crtc, levels)) doubtful.push_back(crtc);
    }
    if (doubtful.empty()) return write(ramps, {});
    device_.read(doubtful, forThisWish([this, ramps, doubtful](const Result<TableDevice::Levels>& held) {
                     Ramps differing = ramps;
                     for (std::size_t i = 0; held && i < doubtful.size(); ++i) {
                         const RampLevels& levels = (*held)[i];
                         const Display* const display = displayOn(doubtful[i]);
                         if (!display || !hasTable(levels.size())) continue;
                         ledger_.firstLook(display->id, levels);
                         std::erase_if(differing, [&](const CrtcLevels& ramp) {
                             return ramp.crtc == doubtful[i] && ramp.levels == levels &&
                                    ledger_.holds(ramp.crtc, levels);
                         });
                     }
                     write(differing, {});
                 }));
}

// Saved, booked and made known to the guard before the first request leaves: nothing of ours may be on a display that
// nobody would take back.
void RememberedDisplays::write(const Ramps& ramps, const OnOutcomes& done) {
    if (ramps.empty()) {
        if (done) done({});
        return;
    }
    save();
    for (const auto& [crtc, levels] : ramps) ledger_.wrote(crtc, levels);
    if (!std::ranges::all_of(ramps, [this](const CrtcLevels& ramp) { return guarded_.contains(ramp.crtc); }))
        publishGuard();
    device_.write(ramps, whileHere([this, ramps, done](const TableDevice::Outcomes& outcomes) {
                      noteOutcomes(ramps, outcomes);
                      if (done) done(outcomes);
                  }));
}

// A refusal is told by the list. Nobody is asked to load again for it: the next look or event does.
void RememberedDisplays::noteOutcomes(const Ramps& ramps, const TableDevice::Outcomes& outcomes) {
    bool isListNew = false;
    for (std::size_t i = 0; i < ramps.size(); ++i) {
        if (!outcomes[i]) ledger_.forgetContents();
        Display* const display = displayOn(ramps[i].crtc);
        if (!display || (!outcomes[i] && outcomes[i].error().code == ErrorCode::Disconnected)) continue;
        const Sentence refusal = outcomes[i] ? Sentence{} : Sentence{textKey("the display server refuses its table")};
        isListNew = isListNew || refusal != display->refusal;
        display->refusal = refusal;
    }
    if (isListNew) listChanges_.deliver();
}

void RememberedDisplays::takeBack(const OnConfirmed& done) { giveTheirOwn(duesWithIdleRemains(), done); }

// A display that has come since is the ledger's.
RememberedDisplays::Ramps RememberedDisplays::duesWithIdleRemains() const {
    Ramps dues = ledger_.calibrations();
    std::ranges::copy_if(idleRemains_, std::back_inserter(dues), [this](const CrtcLevels& remains) {
        return std::ranges::find(displays_, remains.crtc, &Display::crtc) == displays_.end();
    });
    return dues;
}

// What appeared carrying a table of ours, of this run or an earlier one, while nothing is filtered.
void RememberedDisplays::payWhatIsOwed() {
    if (hasBeenTold_ && !wish_) giveTheirOwn(ledger_.owedCalibrations(), {});
}

void RememberedDisplays::giveTheirOwn(const Ramps& ramps, const OnConfirmed& done) {
    write(ramps, [this, ramps, done](const TableDevice::Outcomes& outcomes) {
        Result<void> worst;
        for (std::size_t i = 0; i < outcomes.size(); ++i) {
            if (outcomes[i]) {
                ledger_.restored(ramps[i].crtc, ramps[i].levels);
                std::erase_if(idleRemains_, [&](const CrtcLevels& idle) { return idle.crtc == ramps[i].crtc; });
            } else {
                worst = outcomes[i];
            }
        }
        if (!ramps.empty()) publishGuard();
        const bool isWorthwhile = !worst && worst.error().code != ErrorCode::Disconnected && !isGivenBack_ && !wish_;
        if (isWorthwhile) retry_ = scheduler_.after(kRetryDelay, [this] { takeBack({}); });
        if (done) done(worst);
    });
}

Result<void> RememberedDisplays::giveBack(GivingBack how) {
    if (isGivenBack_) return {};
    const bool wasFading = dropWish();
    isGivenBack_ = how == GivingBack::forGood;
    const auto outcome = std::make_shared<Result<void>>(unanswered());
    if (const auto refreshed = device_.refresh()) {
        adopt();
        takeBack([outcome](const Result<void>& result) { *outcome = result; });
        device_.finish(kPatience);
    } else {
        *outcome = refreshed.error();
    }
    if (wasFading) fadeEnds_.deliver();
    return *outcome;
}

Result<std::vector<RememberedDisplays::Restored>> RememberedDisplays::restoreAll() {
    const auto descriptions = list();
    if (!descriptions) return descriptions.error();
    std::vector<Restored> rows;
    Ramps ramps;
    for (const auto& display : *descriptions) {
        auto& row = rows.emplace_back(Restored{display, Source::neutral, {}});
        if (display.state == DisplayState::noTable) continue;
        const GammaTable own = ledger_.own(display.id).value_or(GammaTable::identity());
        const bool isNeutral = own == resample(GammaTable::identity(), own.size());
        row.source = store_.tables().contains(display.id) ? Source::saved
                     : isNeutral                          ? Source::neutral
                                                          : Source::profile;
        ramps.push_back({find(display.id)->crtc, toLevels(own, display.tableSize)});
    }
    ramps.insert(ramps.end(), idleRemains_.begin(), idleRemains_.end());
    const auto answers = std::make_shared<TableDevice::Outcomes>(ramps.size(), unanswered());
    device_.write(ramps, [answers](TableDevice::Outcomes outcomes) { *answers = std::move(outcomes); });
    device_.finish(kPatience);
    auto answer = answers->begin();
    bool isComplete = true;
    for (auto& row : rows) {
        if (row.display.state == DisplayState::noTable) continue;
        row.outcome = *answer++;
        isComplete = isComplete && row.outcome.hasValue();
    }
    // The file stays for a display that is not here: its table is known nowhere else.
    const auto isHere = [this](DisplayId id) { return find(id) != nullptr; };
    const auto known = store_.knownDisplays();
    if (isComplete && !known.empty() && std::ranges::all_of(known, isHere)) store_.clear();
    return rows;
}

}  // namespace dravo
