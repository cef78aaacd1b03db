#include "platform/plasma/plasma_displays.h"

#include <algorithm>
#include <array>
#include <map>
#include <utility>

#include "base/files.h"
#include "base/localized.h"

namespace dravo::plasma {
namespace {

using namespace std::chrono_literals;
using wayland::Connection;

/// For whoever waits for the compositor.
constexpr Duration kPatience = 2s;

/// A refusal is no reason to ask again; but some pass by themselves, as while the outputs are being changed.
constexpr std::array<Duration, 3> kRetries{1s, 5s, 30s};
/// How soon another program's profile is replaced a second time: two who do not give way would take turns.
constexpr Duration kContestPause = 1s;
constexpr Duration kFlushPause = 50ms;

constexpr Duration kFirstReconnect = 50ms;
constexpr int kDoublings = 7;
/// A compositor that starts again is there within seconds.
constexpr Duration kLongestAbsence = 120s;

constexpr std::size_t kTableSize = 256;

constexpr TextKey kNoProfiles = textKey("Plasma gives it no color profile");
constexpr TextKey kHdr = textKey("not filtered in HDR mode");
constexpr TextKey kRefused = textKey("the display server refuses its table");
constexpr TextKey kRefusedBecause = textKey("the display server refuses its table: %@");
constexpr TextKey kIsGone = textKey("the compositor is gone; Dravo waits for its return");

constexpr std::array<std::pair<ProfileSource, const char*>, 3> kSourceNames{
    {{ProfileSource::srgb, "srgb"}, {ProfileSource::icc, "icc"}, {ProfileSource::edid, "edid"}}};

SavedProfile saved(const ProfileSetting& setting) {
    for (const auto& [source, name] : kSourceNames)
        if (setting.source == source) return {setting.path, name};
    return {setting.path, {}};
}

ProfileSetting settingFrom(const SavedProfile& profile) {
    for (const auto& [source, name] : kSourceNames)
        if (profile.source == name) return {profile.path, source};
    return {profile.path, std::nullopt};
}

/// What a display can be told to follow again: the compositor refuses a path at which there is nothing.
ProfileSetting restorable(const ProfileSetting& own) {
    if (own.path.empty() || !isAbsent(own.path)) return own;
    return {{}, own.source == ProfileSource::icc ? std::optional(ProfileSource::srgb) : own.source};
}

Error disconnected() { return {ErrorCode::Disconnected, textKey("the display server is gone")}; }

std::chrono::milliseconds inMilliseconds(Duration time) {
    return std::chrono::ceil<std::chrono::milliseconds>(std::max(time, Duration::zero()));
}

}  // namespace

PlasmaDisplays::PlasmaDisplays(std::unique_ptr<OutputClient> client, OriginalGammaStore& store, ProfileFiles files,
                               Scheduler& scheduler, ProfileLastWord& lastWord)
    : scheduler_(scheduler), store_(store), files_(std::move(files)), lastWord_(lastWord), client_(std::move(client)) {}

PlasmaDisplays::~PlasmaDisplays() = default;

void PlasmaDisplays::listen(DescriptorWatch& watch) {
    watch_ = &watch;
    if (!client_) return;
    readable_ = watch.whenReadable(client_->connection().descriptor(), [this] { serve(); });
    // What came before may have been taken in without being there to be read again.
    serve();
}

void PlasmaDisplays::serve() {
    if (client_ && client_->connection().serve()) {
        react();
    } else if (client_) {
        lose();
    }
    tell();
}

void PlasmaDisplays::react() {
    client_->notice();
    if (!client_->isComplete()) return send();
    const auto answer = client_->takeAnswer();
    if (client_->takeChange() || answer) adopt();
    if (answer) noteAnswer(*answer);
    bringWish();
}

void PlasmaDisplays::send() {
    if (!client_ || client_->connection().flush()) return;
    flushing_ = scheduler_.after(kFlushPause, [this] { send(); });
}

bool PlasmaDisplays::begin(Beginning how) {
    if (how != Beginning::looking) {
        store_.restoreIfNeeded();
        std::vector<DisplayId> known;
        for (const auto& [display, profile] : store_.profiles()) known.push_back(display);
        identities_.know(known);
    }
    adopt();
    told_ = rows();
    needsLoad_ = false;
    return how != Beginning::looking && std::ranges::any_of(displays_, &Display::carriesOurs);
}

void PlasmaDisplays::adopt() {
    const auto outputs = client_->outputs();
    std::vector<OutputIdentity> identities;
    for (const auto& output : outputs) identities.push_back({output.connector, output.edid});
    const auto ids = identities_.assign(identities);
    std::vector<Display> displays;
    for (std::size_t i = 0; i < outputs.size(); ++i) {
        const Display* const before = find(ids[i]);
        Display& display = displays.emplace_back(before ? *before : Display());
        display.id = ids[i];
        const Output& was = display.output;
        const Output& is = outputs[i];
        if (!before || was.isOn != is.isOn || was.isHdr != is.isHdr || was.takesProfiles != is.takesProfiles)
            needsLoad_ = true;
        display.output = is;
        if (std::ranges::find(underWay_, display.id, &Step::display) != underWay_.end()) continue;
        const auto loaded = display.loaded;
        observe(display);
        if (loaded && display.loaded != loaded) noteContest(display);
    }
    displays_ = std::move(displays);
    if (needsLoad_) tryAllAgain();
    publishGuard();
}

// A profile that is none of ours is the person's, or another program's: it is what is given back from now on.
void PlasmaDisplays::observe(Display& display) {
    const ProfileSetting& follows = display.output.profile;
    display.loaded.reset();
    if (!files_.isOurs(follows.path)) {
        display.carriesOurs = false;
        display.own = follows;
        return;
    }
    // What a run that was cut off has left, or this one on a display that was away since.
    if (!display.carriesOurs) {
        const auto known = store_.profiles().find(display.id);
        display.own = known != store_.profiles().end() ? settingFrom(known->second) : ProfileSetting{};
        if (follows.source && !display.own.source) display.own.source = ProfileSource::srgb;
    }
    display.carriesOurs = true;
    if (follows.source.value_or(ProfileSource::icc) == ProfileSource::icc) {
        display.loaded = ProfileFiles::tableAt(follows.path);
    } else {
        display.own.source = follows.source;
    }
}

// Two who do not give way would otherwise take turns as fast as the compositor can.
void PlasmaDisplays::noteContest(Display& display) {
    const SteadyTime now = scheduler_.steadyNow();
    if (display.lastContest) display.notBefore = std::max(display.notBefore, *display.lastContest + kContestPause);
    display.lastContest = now;
}

bool PlasmaDisplays::canBeFiltered(const Display& display) {
    return display.output.isOn && display.output.takesProfiles && !display.output.isHdr;
}

DisplayDescription PlasmaDisplays::describe(const Display& display) const {
    DisplayDescription row{display.id, display.output.connector, kTableSize, DisplayState::ready, display.refusal};
    if (!client_) {
        row.problem = kIsGone;
    } else if (!display.output.takesProfiles) {
        row.problem = kNoProfiles;
    } else if (display.output.isHdr) {
        row.problem = kHdr;
    }
    if (!row.problem.empty())
        row.state = row.problem.text == kNoProfiles ? DisplayState::noTable : DisplayState::refused;
    return row;
}

std::vector<DisplayDescription> PlasmaDisplays::rows() const {
    std::vector<DisplayDescription> rows;
    for (const auto& display : displays_)
        if (display.output.isOn) rows.push_back(describe(display));
    return rows;
}

Result<std::vector<DisplayDescription>> PlasmaDisplays::list() {
    if (isGone_) return disconnected();
    return rows();
}

std::vector<Result<GammaTable>> PlasmaDisplays::held(std::span<const DisplayId> displays) {
    std::vector<Result<GammaTable>> tables;
    for (const DisplayId id : displays) {
        const Display* const display = find(id);
        if (isGone_ || !client_) {
            tables.emplace_back(disconnected());
        } else if (!display || !display->output.isOn) {
            tables.emplace_back(Error{ErrorCode::NotFound, textKey("this display is not on")});
        } else if (!display->output.takesProfiles) {
            tables.emplace_back(Error{ErrorCode::Unsupported, kNoProfiles});
        } else {
            const auto& [path, source] = display->output.profile;
            const bool followsIt = source.value_or(ProfileSource::icc) == ProfileSource::icc;
            const auto levels = followsIt ? ProfileFiles::tableAt(path) : std::nullopt;
            tables.emplace_back(levels ? toTable(*levels) : GammaTable::identity());
        }
    }
    return tables;
}

void PlasmaDisplays::show(const std::optional<GammaTable>& wish, Fade) {
    if (isGivenBack_ || isGone_ || (wish && !isLoadable(*wish))) return;
    if (wish.has_value() != wish_.has_value()) tryAllAgain();
    wish_ = wish;
    hasBeenTold_ = true;
    bringWish();
    tell();
}

void PlasmaDisplays::loadAgain() {
    if (isGivenBack_ || !wish_) return;
    tryAllAgain();
    bringWish();
    tell();
}

void PlasmaDisplays::tryAllAgain() {
    for (auto& display : displays_) {
        display.attempts = 0;
        display.notBefore = {};
    }
}

PlasmaDisplays::Steps PlasmaDisplays::dueSteps() {
    const SteadyTime now = scheduler_.steadyNow();
    SteadyTime next = SteadyTime::max();
    std::size_t loads = 0;
    Steps steps;
    for (const auto& display : displays_) {
        Step step{display.id, {display.output.connector, restorable(display.own)}, std::nullopt};
        if (wish_) {
            step.levels = toLevels(*wish_, kTableSize);
            if (!canBeFiltered(display) || ++loads > kMaxDisplays || display.loaded == step.levels) continue;
            step.change.profile = {files_.nextPath(display.id, display.output.profile.path),
                                   display.output.profile.source ? std::optional(ProfileSource::icc) : std::nullopt};
        } else if (!display.carriesOurs) {
            continue;
        }
        if (display.notBefore > now) {
            next = std::min(next, display.notBefore);
        } else if (display.wantsItsOwnTry) {
            return {std::move(step)};
        } else {
            steps.push_back(std::move(step));
        }
    }
    if (next != SteadyTime::max())
        retry_ = scheduler_.after(next - now, [this] {
            bringWish();
            tell();
        });
    return steps;
}

// Saved and made known to the guard before the request leaves: nothing of ours may be on a display that nobody would
// take back.
void PlasmaDisplays::bringWish() {
    if (!client_ || !client_->isComplete() || !hasBeenTold_ || !underWay_.empty()) return send();
    retry_.cancel();
    Steps steps = dueSteps();
    if (steps.empty()) return send();
    for (const auto& step : steps) find(step.display)->carriesOurs = true;
    if (!publishGuard()) return;
    std::map<DisplayId, SavedProfile> own;
    std::vector<OutputClient::Change> changes;
    for (auto& step : steps) {
        Display& display = *find(step.display);
        if (step.levels) {
            if (const auto written = writeProfile(display, step); !written) {
                observe(display);
                refuse(display, written.error().message);
                continue;
            }
            own.emplace(display.id, saved(display.own));
        }
        changes.push_back(step.change);
        underWay_.push_back(std::move(step));
    }
    if (changes.empty()) return send();
    if (!own.empty()) static_cast<void>(store_.saveProfiles(own));
    client_->configure(changes);
    send();
}

Result<void> PlasmaDisplays::writeProfile(const Display& display, const Step& step) const {
    std::optional<ProfileBytes> base;
    Chromaticities colours = kSrgb;
    const ProfileSource source = display.own.source.value_or(ProfileSource::icc);
    if (source == ProfileSource::icc) base = ProfileFiles::profileAt(display.own.path);
    if (source == ProfileSource::edid) colours = chromaticitiesOf(display.output.edid).value_or(kSrgb);
    return files_.write(step.change.profile.path, withTable(base ? *base : matrixProfile(colours), *step.levels));
}

void PlasmaDisplays::noteAnswer(const Result<void>& answer) {
    const Steps steps = std::exchange(underWay_, {});
    for (const auto& step : steps) {
        Display* const display = find(step.display);
        if (!display) continue;
        observe(*display);
        if (!answer && steps.size() > 1) {
            display->wantsItsOwnTry = true;
            continue;
        }
        display->wantsItsOwnTry = false;
        const bool isDone = step.levels ? display->loaded == step.levels : !display->carriesOurs;
        if (!answer || (!isDone && !step.levels)) {
            const Sentence reason = answer ? Sentence() : answer.error().message;
            refuse(*display, reason.empty() ? Sentence(kRefused) : Sentence(kRefusedBecause, {reason}));
            continue;
        }
        if (!isDone) noteContest(*display);
        display->refusal = {};
        display->attempts = 0;
    }
    publishGuard();
    forgetWhatIsGivenBack();
}

// The files of displays that are away go, too: without its file such a profile does nothing when its display comes
// back. What is saved of them stays.
void PlasmaDisplays::forgetWhatIsGivenBack() {
    for (const auto& display : displays_)
        if (!display.carriesOurs) store_.forgetProfiles(std::span(&display.id, 1));
    if (!wish_ && underWay_.empty() && std::ranges::none_of(displays_, &Display::carriesOurs)) files_.remove();
}

void PlasmaDisplays::refuse(Display& display, Sentence why) {
    display.refusal = std::move(why);
    const auto attempt = static_cast<std::size_t>(display.attempts++);
    display.notBefore = attempt < kRetries.size() ? scheduler_.steadyNow() + kRetries[attempt] : SteadyTime::max();
}

// False at a sudden end, which is the guard's.
bool PlasmaDisplays::publishGuard() {
    if (!client_) return false;
    std::map<std::string, ProfileSetting> own;
    for (const auto& display : displays_)
        if (display.carriesOurs) own.emplace(display.output.connector, restorable(display.own));
    return lastWord_.guard(std::move(own), client_->connection().descriptor());
}

PlasmaDisplays::Display* PlasmaDisplays::find(DisplayId id) {
    const auto found = std::ranges::find(displays_, id, &Display::id);
    return found == displays_.end() ? nullptr : &*found;
}

// Until nothing is under way that could be waited for.
Result<void> PlasmaDisplays::settle() {
    const SteadyTime deadline = scheduler_.steadyNow() + kPatience;
    while (client_ && (!client_->isComplete() || !underWay_.empty())) {
        const Duration left = deadline - scheduler_.steadyNow();
        if (left <= Duration::zero()) return Error{ErrorCode::Busy, textKey("the display server does not answer")};
        if (client_->connection().wait(inMilliseconds(left))) {
            react();
        } else if (client_->connection().isBroken()) {
            lose();
        }
    }
    return client_ ? Result<void>{} : disconnected();
}

Result<void> PlasmaDisplays::giveBack(GivingBack how) {
    if (isGivenBack_) return {};
    wish_.reset();
    hasBeenTold_ = true;
    tryAllAgain();
    bringWish();
    auto outcome = settle();
    isGivenBack_ = how == GivingBack::forGood;
    forgetWhatIsGivenBack();
    const auto refused = std::ranges::find_if(displays_, &Display::carriesOurs);
    if (outcome && refused != displays_.end()) outcome = Error{ErrorCode::PermissionDenied, refused->refusal};
    tell();
    return outcome;
}

Result<void> PlasmaDisplays::prepareHandOver() {
    if (const auto settled = settle(); !settled) return settled;
    std::map<DisplayId, SavedProfile> own;
    for (const auto& display : displays_)
        if (display.carriesOurs) own.emplace(display.id, saved(display.own));
    if (auto written = store_.saveProfiles(own); !written) return written;
    return store_.saveAgain({});
}

Result<std::vector<LastingDisplays::Restored>> PlasmaDisplays::restoreAll() {
    std::vector<std::pair<DisplayId, Source>> sources;
    for (const auto& display : displays_) {
        const bool isProfile =
            display.own.source.value_or(ProfileSource::icc) == ProfileSource::icc && !display.own.path.empty();
        const bool isSaved = display.carriesOurs && store_.profiles().contains(display.id);
        sources.emplace_back(display.id, isSaved ? Source::saved : isProfile ? Source::profile : Source::neutral);
    }
    hasBeenTold_ = true;
    bringWish();
    const auto settled = settle();
    if (!settled && settled.error().code == ErrorCode::Disconnected) return settled.error();
    forgetWhatIsGivenBack();
    std::vector<Restored> restored;
    for (const auto& [id, source] : sources) {
        const Display* const display = find(id);
        if (!display || !display->output.isOn) continue;
        auto& row = restored.emplace_back(Restored{describe(*display), source, {}});
        if (!display->carriesOurs) continue;
        row.outcome = settled ? Error{ErrorCode::PermissionDenied, display->refusal} : settled.error();
    }
    if (std::ranges::none_of(displays_, &Display::carriesOurs)) store_.clear();
    return restored;
}

// In one place, behind everything: a callback may do anything here.
void PlasmaDisplays::tell() {
    const bool isFilteringNew = std::exchange(wasFiltering_, wish_.has_value()) != wasFiltering_;
    const bool isListNew = std::exchange(told_, rows()) != told_;
    const bool isLoadNeeded = std::exchange(needsLoad_, false);
    if (isFilteringNew) filterings_.deliver(wish_.has_value());
    if (isListNew) listChanges_.deliver();
    if (isLoadNeeded) loadsNeeded_.deliver();
}

// What it was told it keeps, and shows again when it is back.
void PlasmaDisplays::lose() {
    const SteadyTime now = scheduler_.steadyNow();
    if (client_->isComplete()) {
        goneSince_ = now;
        attempts_ = 0;
    }
    readable_.reset();
    retry_.cancel();
    flushing_.cancel();
    client_.reset();
    underWay_.clear();
    awaitReturn();
}

void PlasmaDisplays::awaitReturn() {
    const Duration pause = kFirstReconnect * (1 << std::min(attempts_++, kDoublings));
    reconnection_ = scheduler_.after(pause, [this] { reconnect(); });
}

void PlasmaDisplays::reconnect() {
    auto connection = Connection::create();
    if (connection) {
        client_ = std::make_unique<OutputClient>(std::move(*connection));
        if (watch_) listen(*watch_);
    } else if (scheduler_.steadyNow() - goneSince_ < kLongestAbsence) {
        awaitReturn();
    } else {
        isGone_ = true;
        losses_.deliver();
    }
}

}  // namespace dravo::plasma
