#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

#include "base/observable.h"
#include "filter/adjustment_ranges.h"
#include "filter/user_defaults.h"

namespace dravo {

/// Every key the program stores. Types and defaults stand with the accessors of PreferencesStore.
namespace preference {
inline constexpr std::string_view kFilterEnabled = "filterEnabled";
inline constexpr std::string_view kLastPresetID = "lastPresetID";
inline constexpr std::string_view kLastIntensity = "lastIntensity";
inline constexpr std::string_view kLastDimming = "lastDimming";
inline constexpr std::string_view kLastBlackPoint = "lastBlackPoint";
inline constexpr std::string_view kLastContrast = "lastContrast";
inline constexpr std::string_view kPausedUntil = "pausedUntil";
inline constexpr std::string_view kScheduleEnabled = "scheduleEnabled";
inline constexpr std::string_view kScheduleMode = "scheduleMode";
inline constexpr std::string_view kScheduleStartMinutes = "scheduleStartMinutes";
inline constexpr std::string_view kScheduleEndMinutes = "scheduleEndMinutes";
inline constexpr std::string_view kLastLatitude = "lastLatitude";
inline constexpr std::string_view kLastLongitude = "lastLongitude";
inline constexpr std::string_view kLocationSource = "locationSource";
inline constexpr std::string_view kShortcutKeyCode = "shortcutKeyCode";
inline constexpr std::string_view kShortcutModifiers = "shortcutModifiers";
inline constexpr std::string_view kShortcutEnabled = "shortcutEnabled";
inline constexpr std::string_view kBreakReminderEnabled = "breakReminderEnabled";
inline constexpr std::string_view kBreakIntervalMinutes = "breakIntervalMinutes";
inline constexpr std::string_view kHasSeenOnboarding = "hasSeenOnboarding";
inline constexpr std::string_view kAdvancedExpanded = "advancedExpanded";
inline constexpr std::string_view kAppleLanguages = "AppleLanguages";
}  // namespace preference

/// Control Shift E, numbered as the hot-key service does.
inline constexpr std::int64_t kDefaultShortcutKeyCode = 14;
inline constexpr std::int64_t kDefaultShortcutModifiers = 0x1200;

/// What opens and closes the schedule's window; the values are the stored integers.
enum class ScheduleMode : std::int64_t {
    customTimes = 0,      ///< From `scheduleStartMinutes` to `scheduleEndMinutes`.
    sunsetToSunrise = 1,  ///< From today's sunset to today's sunrise at the stored position.
};

/// The mode with this stored integer, if there is one.
[[nodiscard]] std::optional<ScheduleMode> scheduleModeFrom(std::int64_t raw);

/// Where the stored position comes from.
enum class LocationSource {
    service,  ///< The desktop's location service.
    typed,    ///< The person typed it; the service is not asked.
    zone,     ///< The time zone's principal place, approximate; the service is not asked.
};

/// The program's settings by name, with the defaults that are not false, 0 or absent. Holds nothing itself: every
/// call reads or writes the `defaults` behind it.
///
/// Announces a change before it is written for the settings that the panel shows, and whenever the stored settings
/// were changed from outside. What the filter's controller and the location provider save for themselves is written
/// silently; each setter says which it is.
///
/// Thread: main thread. Lifetime: `defaults` outlives the store.
class PreferencesStore {
public:
    explicit PreferencesStore(UserDefaults& defaults);
    PreferencesStore(const PreferencesStore&) = delete;
    PreferencesStore& operator=(const PreferencesStore&) = delete;

    /// The storage itself, for keys without an accessor.
    [[nodiscard]] UserDefaults& defaults() const { return defaults_; }

    /// The will-change event. For a change from outside the new values are already in place.
    [[nodiscard]] const Observable& changes() const { return changes_; }

    /// `callback` runs after a change from outside, with the keys concerned; the will-change comes first.
    [[nodiscard]] Subscription onOutsideChange(std::function<void(const DefaultsKeys&)> callback) const;

    // Filter, written silently. Adjustments are read as their sliders' nearest value.

    [[nodiscard]] bool filterEnabled() const;  ///< Absent: true.
    void setFilterEnabled(bool enabled);
    [[nodiscard]] std::optional<std::string> lastPresetID() const;
    [[nodiscard]] double lastIntensity() const;  ///< Absent: 0.8.
    [[nodiscard]] double lastDimming() const;
    [[nodiscard]] double lastBlackPoint() const;
    [[nodiscard]] double lastContrast() const;
    void setLastPresetID(std::string id);
    void setLastIntensity(double value);
    void setLastDimming(double value);
    void setLastBlackPoint(double value);
    void setLastContrast(double value);
    [[nodiscard]] std::optional<WallTime> pausedUntil() const;  ///< None also for what is not a date.
    void setPausedUntil(std::optional<WallTime> end);           ///< None removes the key.

    // Schedule, announced. Times are minutes after local midnight, read as the nearest of 0..1439.

    [[nodiscard]] bool scheduleEnabled() const;
    void setScheduleEnabled(bool enabled);
    [[nodiscard]] ScheduleMode scheduleMode() const;  ///< `customTimes` for every stored integer but 1.
    void setScheduleMode(ScheduleMode mode);
    [[nodiscard]] std::int64_t scheduleStartMinutes() const;  ///< Absent: 1200, 20:00.
    void setScheduleStartMinutes(std::int64_t minutes);
    [[nodiscard]] std::int64_t scheduleEndMinutes() const;  ///< Absent: 420, 07:00.
    void setScheduleEndMinutes(std::int64_t minutes);

    // Position in degrees, written silently. None for what is not a number or no place on earth (beyond 90, 180).

    [[nodiscard]] std::optional<double> lastLatitude() const;
    [[nodiscard]] std::optional<double> lastLongitude() const;
    void setLastLatitude(double degrees);
    void setLastLongitude(double degrees);

    [[nodiscard]] LocationSource locationSource() const;  ///< `service` unless "typed" or "zone" is stored.
    void setLocationSource(LocationSource source);        ///< Announced.

    // Global shortcut, announced. Key code and modifier mask are those of the hot-key service.

    [[nodiscard]] std::int64_t shortcutKeyCode() const;              ///< Absent: `kDefaultShortcutKeyCode`.
    [[nodiscard]] std::int64_t shortcutModifiers() const;            ///< Absent: `kDefaultShortcutModifiers`.
    void setShortcut(std::int64_t keyCode, std::int64_t modifiers);  ///< Announced for each of the two.
    [[nodiscard]] bool shortcutEnabled() const;                      ///< Absent: true.
    void setShortcutEnabled(bool enabled);

    // Break reminder, announced.

    [[nodiscard]] bool breakReminderEnabled() const;
    void setBreakReminderEnabled(bool enabled);
    [[nodiscard]] std::int64_t breakIntervalMinutes() const;  ///< Absent: 0; the reader has its own default.
    void setBreakIntervalMinutes(std::int64_t minutes);

    // Panel.

    [[nodiscard]] bool hasSeenOnboarding() const;
    void setHasSeenOnboarding(bool seen);  ///< Announced.
    [[nodiscard]] bool advancedExpanded() const;
    void setAdvancedExpanded(bool expanded);  ///< Silent.

private:
    [[nodiscard]] bool boolOr(std::string_view key, bool whenAbsent) const;
    [[nodiscard]] std::int64_t integerOr(std::string_view key, std::int64_t whenAbsent) const;
    [[nodiscard]] double held(std::string_view key, const AdjustmentRange& range) const;
    [[nodiscard]] std::optional<double> degrees(std::string_view key, double limit) const;
    void announceAndSet(std::string_view key, DefaultsValue value);

    UserDefaults& defaults_;
    Observable changes_;
    mutable SubscriberList<const DefaultsKeys&> outsideChanges_;
    Subscription outside_;
};

}  // namespace dravo
