#include "controller/filter_state.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <string_view>
#include <utility>

#include "controller/schedule_window.h"
#include "melanopic/melanopic_model.h"

namespace dravo {

namespace {

using namespace std::chrono_literals;

constexpr Duration kApplyInterval = 50ms;
constexpr Duration kSaveDelay = 500ms;
constexpr Duration kHousekeepingPeriod = 30s;
constexpr double kEditedTolerance = 0.001;

/// A live adjustment, and what belongs to it elsewhere.
struct LiveAdjustment {
    Property<double> FilterState::*shown;
    double Adjustments::*value;
    double FilterPreset::*ofPreset;
    std::string_view key;
    double (PreferencesStore::*stored)() const;
    void (PreferencesStore::*store)(double);
};

constexpr std::array<LiveAdjustment, 4> kAdjustments{{
    {&FilterState::intensity, &Adjustments::intensity, &FilterPreset::intensity, preference::kLastIntensity,
     &PreferencesStore::lastIntensity, &PreferencesStore::setLastIntensity},
    {&FilterState::dimming, &Adjustments::dimming, &FilterPreset::dimming, preference::kLastDimming,
     &PreferencesStore::lastDimming, &PreferencesStore::setLastDimming},
    {&FilterState::blackPoint, &Adjustments::blackPoint, &FilterPreset::blackPoint, preference::kLastBlackPoint,
     &PreferencesStore::lastBlackPoint, &PreferencesStore::setLastBlackPoint},
    {&FilterState::contrast, &Adjustments::contrast, &FilterPreset::contrast, preference::kLastContrast,
     &PreferencesStore::lastContrast, &PreferencesStore::setLastContrast},
}};

}  // namespace

FilterState::FilterState(const FilterStateParts& parts)
    : selectedPreset(changes_, FilterPreset::defaultPreset()),
      parts_(parts),
      applying_(parts.scheduler, kApplyInterval, [this] { applyIfChanged(); }),
      saving_(parts.scheduler, kSaveDelay, [this] { savePreferences(); }) {
    adoptStored([](std::string_view) { return true; });
    previousScheduleEnabled_ = parts_.preferences.scheduleEnabled();
    observe();
    if (parts.continued) {
        goOnAs(*parts.continued);
    } else {
        restoreInitialState();
    }
    applyEnabledState(Fade::none);
    startHousekeeping();
    parts_.locationProvider.setOnUpdate([this] { refreshState(); });
    parts_.locationProvider.startIfScheduled();
}

FilterState::~FilterState() { parts_.locationProvider.setOnUpdate(nullptr); }

// Key by key: what is stored of the others may be older than what is on screen.
bool FilterState::adoptStored(const std::function<bool(std::string_view)>& isWanted) {
    const auto& preferences = parts_.preferences;
    bool isAnyWanted = false;
    for (const auto& adjustment : kAdjustments) {
        if (!isWanted(adjustment.key)) continue;
        this->*adjustment.shown = (preferences.*adjustment.stored)();
        isAnyWanted = true;
    }
    if (!isWanted(preference::kLastPresetID)) return isAnyWanted;
    if (const auto id = preferences.lastPresetID())
        if (auto preset = findPreset(*id)) selectedPreset = *std::move(preset);
    return true;
}

void FilterState::observe() {
    const auto forward = [this] { changes_.notifyWillChange(); };
    subscriptions_.push_back(selectedPreset.onNewValue([this](const FilterPreset& preset) {
        onPresetAssigned(preset);
        onAdjusted();
    }));
    for (const auto& adjustment : kAdjustments)
        subscriptions_.push_back((this->*adjustment.shown).onNewValue([this](double) { onAdjusted(); }));
    subscriptions_.push_back(
        parts_.preferences.onOutsideChange([this](const DefaultsKeys& keys) { onOutsideEdit(keys); }));
    subscriptions_.push_back(parts_.customPresetStore.onWillChange(forward));
    subscriptions_.push_back(parts_.breakTimer.changes().onWillChange(forward));
}

void FilterState::restoreInitialState() {
    auto& preferences = parts_.preferences;
    const WallTime now = parts_.scheduler.now();
    const auto stored = preferences.pausedUntil();
    const bool isPaused = stored && *stored > now;
    if (stored && !isPaused) preferences.setPausedUntil(std::nullopt);

    // Also in a pause, so that the first look does not take a hand toggle before it for the schedule's change.
    lastInWindow_ = askSchedule();
    if (isPaused) {
        pausedUntil = stored;
        isEnabled = false;
        armPauseTimer(*stored);
    } else {
        isEnabled = lastInWindow_.value_or(preferences.filterEnabled());
    }
}

void FilterState::goOnAs(const RunningState& state) {
    suppressPresetSync_ = true;
    if (auto preset = findPreset(state.presetID)) selectedPreset = *std::move(preset);
    suppressPresetSync_ = false;
    for (const auto& adjustment : kAdjustments) this->*adjustment.shown = state.adjustments.*adjustment.value;
    scheduleOverride_ = state.scheduleOverride;
    lastInWindow_ = state.lastInWindow;
    isEnabled = state.isEnabled;
    static_cast<void>(askSchedule());
    pausedUntil = state.pausedUntil;
    if (state.pausedUntil) armPauseTimer(*state.pausedUntil);
}

RunningState FilterState::runningState() const {
    return {isEnabled, pausedUntil.get(), scheduleOverride_, lastInWindow_, selectedPreset.get().id, adjustments()};
}

void FilterState::startHousekeeping() {
    housekeepingTimer_ = parts_.scheduler.every(kHousekeepingPeriod, [this] { refreshState(); });
    subscriptions_.push_back(parts_.wakeSource.onWake([this] { refreshState(); }));
    subscriptions_.push_back(parts_.calendar.onZoneChange([this] { refreshState(); }));
}

void FilterState::onPresetAssigned(const FilterPreset& preset) {
    const bool isSameAgain = lastAssignedPresetID_ == preset.id;
    lastAssignedPresetID_ = preset.id;
    if (isSameAgain || suppressPresetSync_) return;
    suppressPresetSync_ = true;
    nextApplyAnimated_ = true;
    copyAdjustments(preset);
    suppressPresetSync_ = false;
}

void FilterState::onAdjusted() {
    applying_.trigger();
    saving_.trigger();
}

void FilterState::onOutsideEdit(const DefaultsKeys& keys) {
    using namespace preference;
    const auto isEdited = [&](std::string_view key) { return keys.contains(key); };
    const auto& preferences = parts_.preferences;
    suppressPresetSync_ = true;
    if (adoptStored(isEdited)) nextApplyAnimated_ = true;
    suppressPresetSync_ = false;
    // Read now: switching on by hand would end a pause that the same edit begins.
    const auto pauseEnd = preferences.pausedUntil();
    if (isEdited(kFilterEnabled)) preferences.filterEnabled() ? turnOn() : turnOff();
    if (isEdited(kPausedUntil)) {
        if (pauseEnd && *pauseEnd > parts_.scheduler.now()) {
            pause(*pauseEnd);
        } else if (pausedUntil.get()) {
            resume();
        }
    }
    refreshState();
}

void FilterState::applyIfChanged() {
    const Fade fade = std::exchange(nextApplyAnimated_, false) ? Fade::animated : Fade::none;
    if (lastAppliedSnapshot_ == currentSnapshot()) return;
    if (isEnabled) apply(fade);
}

void FilterState::apply(Fade fade) {
    const FilterPreset& preset = selectedPreset;
    parts_.grayscale.set(preset.isGrayscale);
    parts_.applicator.apply(computeTable(preset, intensity, dimming, blackPoint, contrast), fade);
    lastAppliedSnapshot_ = currentSnapshot();
}

void FilterState::applyEnabledState(Fade fade) {
    if (isEnabled) {
        apply(fade);
    } else {
        parts_.grayscale.set(false);
        parts_.applicator.reset(fade);
    }
}

void FilterState::toggle() {
    isEnabled = !isEnabled;
    rememberHandToggle();
    if (isEnabled && pausedUntil.get()) clearPause();
    applyEnabledState(Fade::animated);
}

void FilterState::turnOn() {
    if (!isEnabled) toggle();
}

void FilterState::turnOff() {
    if (isEnabled) {
        toggle();
    } else if (pausedUntil.get()) {
        clearPause();
        rememberHandToggle();
    }
}

void FilterState::rememberHandToggle() {
    parts_.preferences.setFilterEnabled(isEnabled);
    if (parts_.preferences.scheduleEnabled()) scheduleOverride_ = true;
}

void FilterState::pause(WallTime end) {
    if (isEnabled) {
        isEnabled = false;
        applyEnabledState(Fade::animated);
    }
    pausedUntil = end;
    parts_.preferences.setPausedUntil(end);
    armPauseTimer(end);
}

void FilterState::armPauseTimer(WallTime end) {
    // The wall clock decides; a clock that was set back meanwhile makes the timer ask again.
    pauseTimer_ = parts_.scheduler.after(std::max<Duration>(end - parts_.scheduler.now(), 0s), [this, end] {
        if (parts_.scheduler.now() >= end) {
            resume();
        } else {
            armPauseTimer(end);
        }
    });
}

void FilterState::clearPause() {
    pauseTimer_.cancel();
    pausedUntil = std::nullopt;
    parts_.preferences.setPausedUntil(std::nullopt);
}

void FilterState::resume() {
    clearPause();
    scheduleOverride_ = false;
    lastInWindow_ = askSchedule();
    isEnabled = lastInWindow_.value_or(true);
    applyEnabledState(Fade::animated);
}

void FilterState::refreshState() {
    const auto& end = pausedUntil.get();
    if (end && parts_.scheduler.now() >= *end) {
        resume();
    } else {
        evaluateSchedule();
    }
}

void FilterState::evaluateSchedule() {
    const auto isIn = askSchedule();
    if (!isIn || lastInWindow_ != isIn || !previousScheduleEnabled_) scheduleOverride_ = false;
    if (isIn && !pausedUntil.get() && !scheduleOverride_ && isEnabled != *isIn) {
        isEnabled = *isIn;
        applyEnabledState(Fade::animated);
    }
    lastInWindow_ = isIn;
    previousScheduleEnabled_ = isIn.has_value();
}

// The next change moves by itself: at a boundary that changes nothing else, in another zone, after a set clock.
std::optional<bool> FilterState::askSchedule() {
    const auto& preferences = parts_.preferences;
    std::optional<bool> isIn;
    std::optional<ScheduledChange> next;
    if (preferences.scheduleEnabled()) {
        const WallTime now = parts_.scheduler.now();
        isIn = isInScheduleWindow(now, preferences, parts_.calendar);
        const auto at = nextScheduleChange(now, preferences, parts_.calendar);
        if (at) next = ScheduledChange{*at, !*isIn};
    }
    if (next != nextScheduledChange.get()) nextScheduledChange = next;
    return isIn;
}

void FilterState::activateSavedPreset(const FilterPreset& preset) {
    suppressPresetSync_ = true;
    selectedPreset = preset;
    copyAdjustments(preset);
    suppressPresetSync_ = false;
    if (isEnabled) apply(Fade::none);
    savePreferences();
}

void FilterState::revertToPreset() { copyAdjustments(FilterPreset(selectedPreset)); }

void FilterState::copyAdjustments(const FilterPreset& preset) {
    for (const auto& adjustment : kAdjustments) this->*adjustment.shown = preset.*adjustment.ofPreset;
}

void FilterState::savePreferences() {
    auto& preferences = parts_.preferences;
    preferences.setLastPresetID(selectedPreset.get().id);
    for (const auto& adjustment : kAdjustments) (preferences.*adjustment.store)(this->*adjustment.shown);
}

bool FilterState::isEdited() const {
    const FilterPreset& preset = selectedPreset;
    return std::ranges::any_of(kAdjustments, [&](const LiveAdjustment& adjustment) {
        return std::abs(this->*adjustment.shown - preset.*adjustment.ofPreset) > kEditedTolerance;
    });
}

double FilterState::melanopicReduction() const { return dravo::melanopicReduction(selectedPreset, adjustments()); }

std::vector<FilterPreset> FilterState::allPresets() const {
    std::vector<FilterPreset> presets = FilterPreset::builtIn();
    const auto& custom = parts_.customPresetStore.presets.get();
    presets.insert(presets.end(), custom.begin(), custom.end());
    return presets;
}

std::optional<FilterPreset> FilterState::findPreset(std::string_view id) const {
    const auto presets = allPresets();
    const auto found = std::ranges::find(presets, id, &FilterPreset::id);
    return found == presets.end() ? std::nullopt : std::optional(*found);
}

FilterState::AppliedSnapshot FilterState::currentSnapshot() const { return {selectedPreset.get().id, adjustments()}; }

}  // namespace dravo
