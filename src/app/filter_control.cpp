#include "app/filter_control.h"

#include <algorithm>
#include <utility>

#include "base/localized.h"
#include "filter/preset_exchange.h"
#include "filter/preset_json.h"

namespace dravo {

namespace {

using namespace std::chrono_literals;

constexpr int kMorningHour = 8;
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

std::int32_t int32(std::int64_t value) {
    return static_cast<std::int32_t>(std::clamp<std::int64_t>(value, INT32_MIN, INT32_MAX));
}

}  // namespace

WallTime nextMorning(WallTime now, const Calendar& calendar) {
    LocalFields morning = calendar.fields(now);
    morning.hour = kMorningHour;
    morning.minute = 0;
    morning.second = 0;
    const WallTime today = calendar.instant(morning);
    if (today - now > kShortestNight) return today;
    ++morning.day;
    return calendar.instant(morning);
}

FilterControl::FilterControl(FilterControlParts parts) : parts_(std::move(parts)) {
    const auto willChange = [this] { somethingWillChange(); };
    subscriptions_.push_back(parts_.filterState.changes().onWillChange(willChange));
    subscriptions_.push_back(parts_.preferences.changes().onWillChange(willChange));
    subscriptions_.push_back(parts_.locationProvider.changes().onWillChange(willChange));
    subscriptions_.push_back(parts_.displays.onDisplayChange(willChange));
}

// Changes are announced before they happen; whoever asks for the state gets it afterwards, once for many changes.
void FilterControl::somethingWillChange() {
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
    if (const auto change = filter.nextScheduledChange()) state.nextChange = {change->at, change->turnsOn};
    const auto& breaks = parts_.breakTimer;
    state.breaks = {breaks.isEnabled(), int32(breaks.interval().get().count()), int32(breaks.remaining().get().count()),
                    int32(breaks.breakLeft().get().count())};
    state.location = {preferences.locationSource(), std::string(nameOf(parts_.locationProvider.status().get())),
                      preferences.lastLatitude(), preferences.lastLongitude()};
    if (auto displays = parts_.displays.describeDisplays()) state.displays = std::move(*displays);
    return state;
}

Result<void> FilterControl::toggle() {
    parts_.filterState.toggle();
    return {};
}

Result<void> FilterControl::switchOn() {
    parts_.filterState.turnOn();
    return {};
}

Result<void> FilterControl::switchOff() {
    parts_.filterState.turnOff();
    return {};
}

Result<void> FilterControl::pause(const PauseLength& length) {
    auto& filter = parts_.filterState;
    if (!filter.isEnabled && !filter.pausedUntil.get())
        return Error{ErrorCode::InvalidInput, localized("the filter is off; there is nothing to pause")};
    const WallTime end = endOf(length);
    if (end <= parts_.scheduler.now())
        return Error{ErrorCode::InvalidInput, localized("the pause would end in the past")};
    filter.pause(end);
    return {};
}

WallTime FilterControl::endOf(const PauseLength& length) const {
    const WallTime now = parts_.scheduler.now();
    if (const auto* end = std::get_if<WallTime>(&length)) return *end;
    if (const auto* span = std::get_if<std::chrono::seconds>(&length)) return now + *span;
    return nextMorning(now, parts_.calendar);
}

Result<void> FilterControl::resume() {
    if (parts_.filterState.pausedUntil.get()) parts_.filterState.resume();
    return {};
}

Result<void> FilterControl::selectPreset(const std::string& id) {
    const auto preset = parts_.filterState.findPreset(id);
    if (!preset) return Error{ErrorCode::NotFound, filled(localized("no preset has the id \"%@\""), {id})};
    parts_.filterState.selectedPreset = *preset;
    return {};
}

Result<void> FilterControl::setAdjustments(const AdjustmentChange& change) {
    auto& filter = parts_.filterState;
    if (change.intensity) filter.intensity = *change.intensity;
    if (change.dimming) filter.dimming = *change.dimming;
    if (change.blackPoint) filter.blackPoint = *change.blackPoint;
    if (change.contrast) filter.contrast = *change.contrast;
    return {};
}

Result<void> FilterControl::setSchedule(const ScheduleChange& change) {
    auto& preferences = parts_.preferences;
    if (change.startMinutes) preferences.setScheduleStartMinutes(*change.startMinutes);
    if (change.endMinutes) preferences.setScheduleEndMinutes(*change.endMinutes);
    if (change.mode) preferences.setScheduleMode(*change.mode);
    if (change.enabled) preferences.setScheduleEnabled(*change.enabled);
    const bool newlyNeedsPosition = change.mode == ScheduleMode::sunsetToSunrise || change.enabled == true;
    if (newlyNeedsPosition && preferences.scheduleEnabled() &&
        preferences.scheduleMode() == ScheduleMode::sunsetToSunrise)
        parts_.locationProvider.start();
    parts_.filterState.refreshState();
    return {};
}

Result<void> FilterControl::setLocation(const LocationChange& change) {
    auto& provider = parts_.locationProvider;
    switch (change.source) {
        case LocationSource::typed:
            return provider.useTyped(change.position.value_or(Position{}));
        case LocationSource::zone: {
            const auto position = provider.useZone();
            return position ? Result<void>() : position.error();
        }
        case LocationSource::service:
            provider.useService();
    }
    return {};
}

Result<void> FilterControl::setBreaks(const BreaksChange& change) {
    auto& breaks = parts_.breakTimer;
    if (change.intervalMinutes) breaks.setInterval(std::chrono::minutes{*change.intervalMinutes});
    if (change.enabled) breaks.requestEnabled(*change.enabled);
    return {};
}

Result<void> FilterControl::dismissBreak() {
    parts_.breakTimer.dismissBreak();
    return {};
}

Result<std::vector<std::string>> FilterControl::importPresets(const std::string& text) {
    const auto incoming = dravo::importPresets(text);
    if (!incoming) return incoming.error();
    if (auto adopted = parts_.customPresetStore.adopt(*incoming); !adopted) return adopted.error();
    std::vector<std::string> ids;
    const std::string selected = parts_.filterState.selectedPreset.get().id;
    for (const auto& preset : *incoming) {
        ids.push_back(preset.id);
        if (preset.id == selected) parts_.filterState.activateSavedPreset(preset);
    }
    return ids;
}

Result<std::string> FilterControl::exportPresets(const std::vector<std::string>& ids) {
    const auto& presets = parts_.customPresetStore.presets.get();
    if (ids.empty()) return encodePresets(presets);
    std::vector<FilterPreset> chosen;
    for (const auto& id : ids) {
        const auto found = std::ranges::find(presets, id, &FilterPreset::id);
        if (found == presets.end())
            return Error{ErrorCode::NotFound, filled(localized("no preset of yours has the id \"%@\""), {id})};
        chosen.push_back(*found);
    }
    return encodePresets(chosen);
}

Result<void> FilterControl::activate() { return parts_.activate(); }

Result<void> FilterControl::restore() { return parts_.restore(); }

Result<void> FilterControl::quit() {
    parts_.scheduler.post(parts_.quit);
    return {};
}

}  // namespace dravo
