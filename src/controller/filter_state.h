#pragma once

#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "base/calendar.h"
#include "base/observable.h"
#include "base/rate_limit.h"
#include "base/scheduler.h"
#include "breaks/break_timer.h"
#include "controller/running_state.h"
#include "display/gamma_applicator.h"
#include "display/grayscale_switch.h"
#include "display/wake_source.h"
#include "filter/custom_preset_store.h"
#include "filter/filter_preset.h"
#include "filter/preferences_store.h"
#include "schedule/location_provider.h"

namespace dravo {

/// What the controller works with; all of it outlives the controller.
struct FilterStateParts {
    Scheduler& scheduler;
    Calendar& calendar;
    PreferencesStore& preferences;
    CustomPresetStore& customPresetStore;
    BreakTimer& breakTimer;
    LocationProvider& locationProvider;
    GammaApplicator& applicator;
    GrayscaleSwitch& grayscale;
    WakeSource& wakeSource;
    std::optional<RunningState> continued{};  ///< Goes on with this instead of what is stored.
};

/// The single owner of what the screen shows: the selected preset, the four live adjustments, on or off, and the pause.
///
/// Turns every change into at most one new table, stores the adjustments, restores everything at construction, and
/// looks at the pause's end and the schedule every 30 seconds, after a wake and after a change of time zone. Views and
/// control from outside write `selectedPreset` and the adjustments directly; `isEnabled` and `pausedUntil` change only
/// through the operations. A person's edit of the settings file counts like the same change made in the panel.
///
/// Thread: main thread.
class FilterState {
private:
    Observable changes_;

public:
    /// Restores the stored state and puts it on screen: without a fade, and before this returns.
    explicit FilterState(const FilterStateParts& parts);
    ~FilterState();
    FilterState(const FilterState&) = delete;
    FilterState& operator=(const FilterState&) = delete;

    struct ScheduledChange {
        WallTime at;
        bool turnsOn;
        bool operator==(const ScheduledChange&) const = default;
    };

    // Written by the operations only.
    Property<bool> isEnabled{changes_, false};
    Property<std::optional<WallTime>> pausedUntil{changes_, std::nullopt};
    /// When the schedule next changes the filter's state, or ends a manual override, as of the last look; none when it
    /// is off or does not within two days. Assigned only when it moves.
    Property<std::optional<ScheduledChange>> nextScheduledChange{changes_, std::nullopt};

    // Written by anybody; the screen follows within the throttle's 50 ms, the settings half a second after the last.
    Property<FilterPreset> selectedPreset;
    Property<double> intensity{changes_, 0.8};
    Property<double> dimming{changes_, 0.0};
    Property<double> blackPoint{changes_, 0.0};
    Property<double> contrast{changes_, 0.0};

    /// Announces every change of the above, of the user presets and of the break timer, before it happens.
    [[nodiscard]] const Observable& changes() const { return changes_; }

    /// Flips the filter by hand: ends a pause, overrides the schedule until its next change, and is remembered.
    void toggle();

    /// By hand like `toggle`, but an "on" while on and an "off" while off change nothing. An "off" while paused drops
    /// the pause and stays off.
    void turnOn();
    void turnOff();

    /// Off until `end`, then on again, or what the schedule says by then. An end that is past resumes at once.
    void pause(WallTime end);

    /// Ends the pause now.
    void resume();

    /// Ends a pause that is over, else lets the schedule decide.
    void refreshState();

    /// Selects a preset just saved with its own adjustments and shows it at once, also if it has the selected id.
    void activateSavedPreset(const FilterPreset& preset);

    /// Copies the four adjustments back from the selected preset.
    void revertToPreset();

    /// Whether an adjustment is more than 0.001 away from the preset's.
    [[nodiscard]] bool isEdited() const;

    [[nodiscard]] Adjustments adjustments() const { return {intensity, dimming, blackPoint, contrast}; }

    /// The melanopic light that preset and adjustments remove, in percent 0..100, whether the filter is on or not.
    [[nodiscard]] double melanopicReduction() const;

    /// Built-in presets, then the user's.
    [[nodiscard]] std::vector<FilterPreset> allPresets() const;
    [[nodiscard]] std::optional<FilterPreset> findPreset(std::string_view id) const;

    /// Loads the table for the current settings, whether the filter is on or not: also the end of a preview.
    void apply(Fade fade);

    /// Writes what the debounce still holds; for the end of the program.
    void saveNow() { saving_.flush(); }

    /// For a successor that goes on without a change on screen.
    [[nodiscard]] RunningState runningState() const;

private:
    /// What the last loaded table was computed from.
    struct AppliedSnapshot {
        std::string presetID;
        Adjustments adjustments;
        bool operator==(const AppliedSnapshot&) const = default;
    };

    /// Takes over what is stored of the preset and the adjustments under the keys wanted; false: none of them was.
    bool adoptStored(const std::function<bool(std::string_view)>& isWanted);
    void observe();
    void restoreInitialState();
    void goOnAs(const RunningState& state);
    void startHousekeeping();
    void onPresetAssigned(const FilterPreset& preset);
    void onAdjusted();
    void onOutsideEdit(const DefaultsKeys& keys);
    void applyIfChanged();
    void applyEnabledState(Fade fade);
    void savePreferences();
    void copyAdjustments(const FilterPreset& preset);
    void rememberHandToggle();
    void armPauseTimer(WallTime end);
    void clearPause();
    void evaluateSchedule();
    /// What the schedule wants now; none while it is off. Brings `nextScheduledChange` up to date.
    [[nodiscard]] std::optional<bool> askSchedule();
    [[nodiscard]] AppliedSnapshot currentSnapshot() const;

    FilterStateParts parts_;
    Throttle applying_;
    Debounce saving_;
    bool suppressPresetSync_ = false;
    bool nextApplyAnimated_ = false;
    std::optional<std::string> lastAssignedPresetID_;
    bool scheduleOverride_ = false;
    std::optional<bool> lastInWindow_;
    bool previousScheduleEnabled_ = false;
    std::optional<AppliedSnapshot> lastAppliedSnapshot_;
    Timer pauseTimer_;
    Timer housekeepingTimer_;
    std::vector<Subscription> subscriptions_;
};

}  // namespace dravo
