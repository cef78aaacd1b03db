#include "platform/plasma/plasma_displays.h"

#include <algorithm>
#include <map>
#include <utility>

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

Error disconnected() { return {ErrorCode::Disconnected, "the compositor is gone"}; }

std::chrono::milliseconds inMilliseconds(Duration time) {
    return std::chrono::ceil<std::chrono::milliseconds>(std::max(time, Duration::zero()));
}

}  // namespace

PlasmaDisplays::PlasmaDisplays(std::unique_ptr<OutputClient> client, OriginalGammaStore& store, ProfileFiles files,
                               Scheduler& scheduler, ProfileLastWord* lastWord)
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
    if (!client_->isComplete()) return;
    const auto answer = client_->takeAnswer();
    if (client_->takeChange() || answer) adopt();
    if (answer) noteAnswer(*answer);
    bringWish();
}

bool PlasmaDisplays::begin(Beginning how) {
    isOnlyLooking_ = how == Beginning::looking;
    if (!isOnlyLooking_) {
        store_.restoreIfNeeded();
        std::vector<DisplayId> known;
        for (const auto& [display, profile] : store_.profiles()) known.push_back(display);
        identities_.know(known);
    }
    adopt();
    told_ = rows();
    needsLoad_ = false;
    publishGuard({});
    return !isOnlyLooking_ && std::ranges::any_of(displays_, &Display::carriesOurs);
}

void PlasmaDisplays::adopt() {
    const auto outputs = client_->outputs();
    std::vector<OutputIdentity> identities;
    for (const auto& output : outputs) identities.push_back({output.connector, output.edid});
    const auto ids = identities_.assign(identities);
    std::vector<Display> displays;
    for (std::size_t i = 0; i < outputs.size(); ++i) {
        const bool isUnderWay = std::ranges::find(underWay_, ids[i], &Step::display) != underWay_.end();
        if (const Display* const before = find(ids[i])) {
            displays.push_back(*before);
            compare(displays.back(), outputs[i], isUnderWay);
            continue;
        }
        Display& display = displays.emplace_back();
        display.id = ids[i];
        display.output = outputs[i];
        display.own = outputs[i].profile;
        needsLoad_ = true;
        if (!files_.isOurs(display.own.path)) continue;
        // What a run that was cut off has left, or this one on a display that was away.
        const auto known = store_.profiles().find(display.id);
        const bool hasSource = display.own.source.has_value();
        display.carriesOurs = true;
        display.loaded = ProfileFiles::tableAt(display.own.path);
        display.own = known != store_.profiles().end() ? settingFrom(known->second)
                      : hasSource                      ? ProfileSetting{{}, ProfileSource::srgb}
                                                       : ProfileSetting{};
    }
    if (displays.size() != displays_.size()) needsLoad_ = true;
    displays_ = std::move(displays);
    if (needsLoad_) tryAllAgain();
}

// A profile that is none of ours is the person's, or another program's: it is given back from now on, and if there is a
// wish, ours follows on top of it.
void PlasmaDisplays::compare(Display& display, const Output& output, bool isUnderWay) {
    const Output before = std::exchange(display.output, output);
    if (before.isOn != output.isOn || before.isHdr != output.isHdr || before.takesProfiles != output.takesProfiles)
        needsLoad_ = true;
    if (isUnderWay || before.profile == output.profile) return;
    const bool followsOurs = files_.isOurs(output.profile.path);
    if (!followsOurs) {
        display.own = output.profile;
        display.carriesOurs = false;
    } else if (output.profile.source != ProfileSource::icc) {
        display.own.source = output.profile.source;
    }
    if (!display.loaded) return;
    display.loaded.reset();
    if (wish_ && !lastContest_) lastContest_ = scheduler_.steadyNow() - kContestPause;
}

}  // namespace dravo::plasma
