#include "app/filter_control.h"

#include <algorithm>
#include <utility>

#include "app/display_problems.h"
#include "base/localized.h"
#include "filter/preset_exchange.h"
#include "filter/preset_json.h"

namespace dravo {

namespace {

using namespace std::chrono_literals;

constexpr int kMorning = 8 * 60;
constexpr auto kShortestNight = 1h;

std::string_view nameOf(LocationProvider::Status status) {
    switch (status) {
        case LocationProvider::Status::idle:
            return "idle";
        case LocationProvider::Status::waiting:
            return "waiting";
        case LocationProvider::Status::available:
            return "available";
        case LocationProvider::Status::denied:
            return "denied";
    }
    return "";
}

// Minutes and seconds, all of them held to a day or less.
std::int32_t int32(std::int64_t value) { return static_cast<std::int32_t>(value); }

using Answer = Result<ControlAnswer>;
using Parts = FilterControlParts;

Answer done(const Result<void>& outcome = {}) { return outcome ? Answer(ControlAnswer{}) : outcome.error(); }

Answer perform(const request::Toggle&, Parts& parts) {
    parts.filterState.toggle();
    return done();
}

Answer perform(const request::SwitchOn&, Parts& parts) {
    parts.filterState.turnOn();
    return done();
}

Answer perform(const request::SwitchOff&, Parts& parts) {
    parts.filterState.turnOff();
    return done();
}

Answer pauseUntil(WallTime end, Parts& parts) {
    auto& filter = parts.filterState;
    if (!filter.isEnabled && !filter.pausedUntil.get())
        return Error{ErrorCode::InvalidInput, textKey("the filter is off; there is nothing to pause")};
    if (end <= parts.scheduler.now()) return Error{ErrorCode::InvalidInput, textKey("the pause would end in the past")};
    filter.pause(end);
    return done();
}

Answer perform(const request::PauseFor& pause, Parts& parts) {
    return pauseUntil(parts.scheduler.now() + pause.length, parts);
}

Answer perform(const request::PauseUntil& pause, Parts& parts) { return pauseUntil(pause.end, parts); }

Answer perform(const request::PauseUntilMorning&, Parts& parts) {
    return pauseUntil(nextMorning(parts.scheduler.now(), parts.calendar), parts);
}

Answer perform(const request::Resume&, Parts& parts) {
    if (parts.filterState.pausedUntil.get()) parts.filterState.resume();
    return done();
}

Answer perform(const request::SelectPreset& selection, Parts& parts) {
    const auto preset = parts.filterState.findPreset(selection.id);
    if (!preset) return Error{ErrorCode::NotFound, Sentence(textKey("no preset has the id \"%@\""), {selection.id})};
    parts.filterState.selectedPreset = *preset;
    return done();
}

Answer perform(const request::SetAdjustments& change, Parts& parts) {
    auto& filter = parts.filterState;
    if (change.intensity) filter.intensity = *change.intensity;
    if (change.dimming) filter.dimming = *change.dimming;
    if (change.blackPoint) filter.blackPoint = *change.blackPoint;
    if (change.contrast) filter.contrast = *change.contrast;
    return done();
}

Answer perform(const request::RevertToPreset&, Parts& parts) {
    parts.filterState.revertToPreset();
    return done();
}

Answer perform(const request::SetSchedule& change, Parts& parts) {
    auto& preferences = parts.preferences;
    if (change.startMinutes) preferences.setScheduleStartMinutes(*change.startMinutes);
    if (change.endMinutes) preferences.setScheduleEndMinutes(*change.endMinutes);
    if (change.mode) preferences.setScheduleMode(*change.mode);
    if (change.enabled) preferences.setScheduleEnabled(*change.enabled);
    const bool newlyNeedsPosition = change.mode == ScheduleMode::sunsetToSunrise || change.enabled == true;
    if (newlyNeedsPosition && preferences.scheduleEnabled() &&
        preferences.scheduleMode() == ScheduleMode::sunsetToSunrise)
        parts.locationProvider.start();
    parts.filterState.refreshState();
    return done();
}

Answer perform(const request::SetLocation& change, Parts& parts) {
    auto& provider = parts.locationProvider;
    if (change.source == LocationSource::typed) return done(provider.useTyped(change.position.value_or(Position{})));
    if (change.source == LocationSource::zone) {
        const auto place = provider.useZone();
        return place ? done() : place.error();
    }
    provider.useService();
    return done();
}

Answer perform(const request::SetBreaks& change, Parts& parts) {
    auto& breaks = parts.breakTimer;
    if (change.intervalMinutes) breaks.setInterval(std::chrono::minutes{*change.intervalMinutes});
    if (change.enabled == true) breaks.enableAtOnce();
    if (change.enabled == false) breaks.setEnabled(false);
    return done();
}

Answer perform(const request::DismissBreak&, Parts& parts) {
    parts.breakTimer.dismissBreak();
    return done();
}

Answer perform(const request::ImportPresets& import, Parts& parts) {
    const auto incoming = importPresets(import.text);
    if (!incoming) return incoming.error();
    if (auto adopted = parts.customPresetStore.adopt(*incoming); !adopted) return adopted.error();
    ControlAnswer answer;
    const std::string selected = parts.filterState.selectedPreset.get().id;
    for (const auto& preset : *incoming) {
        answer.ids.push_back(preset.id);
        if (preset.id == selected) parts.filterState.activateSavedPreset(preset);
    }
    return answer;
}

Answer perform(const request::ExportPresets& wanted, Parts& parts) {
    const auto& presets = parts.customPresetStore.presets.get();
    std::vector<FilterPreset> chosen;
    for (const auto& id : wanted.ids) {
        const auto found = std::ranges::find(presets, id, &FilterPreset::id);
        if (found == presets.end())
            return Error{ErrorCode::NotFound, Sentence(textKey("no preset of yours has the id \"%@\""), {id})};
        chosen.push_back(*found);
    }
    auto json = encodePresets(wanted.ids.empty() ? presets : chosen);
    return json ? Answer(ControlAnswer{.json = std::move(*json)}) : json.error();
}

Answer perform(const request::Activate&, Parts& parts) { return done(parts.activate()); }

Answer perform(const request::Restore&, Parts& parts) { return done(parts.restore()); }

Answer perform(const request::Quit&, Parts& parts) {
    parts.scheduler.post(parts.quit);
    return done();
}

Answer perform(const request::ListDisplays&, Parts& parts) {
    auto displays = heldDisplays(parts.displays);
    if (!displays) return displays.error();
    return ControlAnswer{.backend = parts.displays.backend(), .displays = std::move(*displays)};
}

}  // namespace

WallTime nextMorning(WallTime now, const Calendar& calendar) {
    return nextTimeOfDay(kMorning, now + kShortestNight, calendar);
}

FilterControl::FilterControl(FilterControlParts parts) : parts_(std::move(parts)) {
    const auto changing = [this](const auto&...) { somethingChanges(); };
    const auto watch = [&](const auto&... properties) {
        (subscriptions_.push_back(properties.onNewValue(changing)), ...);
    };
    const auto& filter = parts_.filterState;
    const auto& breaks = parts_.breakTimer;
    // Each by itself, as the filter also announces every second of a countdown.
    watch(filter.isEnabled, filter.pausedUntil, filter.nextScheduledChange, filter.selectedPreset, filter.intensity,
          filter.dimming, filter.blackPoint, filter.contrast, breaks.isEnabled(), breaks.interval(),
          breaks.showingBreakAlert(), parts_.locationProvider.status());
    subscriptions_.push_back(parts_.preferences.changes().onWillChange(changing));
    subscriptions_.push_back(parts_.displays.onListChange(changing));
}

// Some of it is announced before it happens; whoever asks for the state gets it afterwards, once for many changes.
void FilterControl::somethingChanges() {
    if (pendingDelivery_.isPending() || changed_.empty()) return;
    pendingDelivery_ = parts_.scheduler.after(0s, [this] { changed_.deliver(); });
}

Subscription FilterControl::onStateChange(std::function<void()> callback) { return changed_.add(std::move(callback)); }

ControlState FilterControl::controlState() const {
    const auto& filter = parts_.filterState;
    const auto& preferences = parts_.preferences;
    ControlState state;
    state.isEnabled = filter.isEnabled;
    state.preset = filter.selectedPreset.get().id;
    state.intensity = filter.intensity;
    state.dimming = filter.dimming;
    state.blackPoint = filter.blackPoint;
    state.contrast = filter.contrast;
    state.isEdited = filter.isEdited();
    state.pausedUntil = filter.pausedUntil;
    state.melanopicReduction = filter.melanopicReduction();
    state.schedule = {preferences.scheduleEnabled(), preferences.scheduleMode(),
                      int32(preferences.scheduleStartMinutes()), int32(preferences.scheduleEndMinutes())};
    if (const auto& change = filter.nextScheduledChange.get()) state.nextChange = {change->at, change->turnsOn};
    const auto& breaks = parts_.breakTimer;
    state.breaks = {breaks.isEnabled(), int32(breaks.interval().get().count()), int32(breaks.remaining().get().count()),
                    int32(breaks.breakLeft().get().count())};
    state.location = {preferences.locationSource(), std::string(nameOf(parts_.locationProvider.status().get())),
                      preferences.lastLatitude(), preferences.lastLongitude()};
    if (const auto displays = parts_.displays.list())
        for (const auto& display : *displays) state.displays.push_back(controlled(display));
    state.lacksGrayscale = grayscaleProblem(filter.selectedPreset, parts_.grayscale).has_value();
    return state;
}

Subscription FilterControl::examine(Examination::Told onDone) { return parts_.examine(std::move(onDone)); }

Result<ControlAnswer> FilterControl::carryOut(const ControlRequest& request) {
    if (auto refused = validate(request); !refused) return refused.error();
    return std::visit([this](const auto& asked) { return perform(asked, parts_); }, request);
}

}  // namespace dravo
