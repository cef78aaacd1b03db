#include "filter/preferences_store.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace dravo {

namespace {

constexpr double kDefaultIntensity = 0.8;
constexpr std::int64_t kDefaultStartMinutes = 20 * 60;
constexpr std::int64_t kDefaultEndMinutes = 7 * 60;
constexpr std::int64_t kFirstMinute = 0;
constexpr std::int64_t kLastMinute = 24 * 60 - 1;
constexpr double kLargestLatitude = 90;
constexpr double kLargestLongitude = 180;

constexpr std::string_view kTyped = "typed";
constexpr std::string_view kZone = "zone";
constexpr std::string_view kService = "service";

}  // namespace

std::optional<ScheduleMode> scheduleModeFrom(std::int64_t raw) {
    for (const auto mode : {ScheduleMode::customTimes, ScheduleMode::sunsetToSunrise})
        if (raw == static_cast<std::int64_t>(mode)) return mode;
    return std::nullopt;
}

PreferencesStore::PreferencesStore(UserDefaults& defaults)
    : defaults_(defaults), outside_(defaults.onChange([this](const DefaultsKeys& keys) {
          changes_.notifyWillChange();
          outsideChanges_.deliver(keys);
      })) {}

Subscription PreferencesStore::onOutsideChange(std::function<void(const DefaultsKeys&)> callback) const {
    return outsideChanges_.add(std::move(callback));
}

bool PreferencesStore::filterEnabled() const { return boolOr(preference::kFilterEnabled, true); }
void PreferencesStore::setFilterEnabled(bool enabled) { defaults_.set(preference::kFilterEnabled, enabled); }

std::optional<std::string> PreferencesStore::lastPresetID() const {
    return defaults_.stringForKey(preference::kLastPresetID);
}
double PreferencesStore::lastIntensity() const {
    return defaults_.object(preference::kLastIntensity) ? held(preference::kLastIntensity, kIntensityRange)
                                                        : kDefaultIntensity;
}
double PreferencesStore::lastDimming() const { return held(preference::kLastDimming, kDimmingRange); }
double PreferencesStore::lastBlackPoint() const { return held(preference::kLastBlackPoint, kBlackPointRange); }
double PreferencesStore::lastContrast() const { return held(preference::kLastContrast, kContrastRange); }
void PreferencesStore::setLastPresetID(std::string id) { defaults_.set(preference::kLastPresetID, std::move(id)); }
void PreferencesStore::setLastIntensity(double value) { defaults_.set(preference::kLastIntensity, value); }
void PreferencesStore::setLastDimming(double value) { defaults_.set(preference::kLastDimming, value); }
void PreferencesStore::setLastBlackPoint(double value) { defaults_.set(preference::kLastBlackPoint, value); }
void PreferencesStore::setLastContrast(double value) { defaults_.set(preference::kLastContrast, value); }

std::optional<WallTime> PreferencesStore::pausedUntil() const {
    const auto stored = defaults_.object(preference::kPausedUntil);
    const auto* date = stored ? std::get_if<WallTime>(&*stored) : nullptr;
    return date ? std::optional(*date) : std::nullopt;
}
void PreferencesStore::setPausedUntil(std::optional<WallTime> end) {
    if (end)
        defaults_.set(preference::kPausedUntil, *end);
    else
        defaults_.remove(preference::kPausedUntil);
}

bool PreferencesStore::scheduleEnabled() const { return defaults_.boolForKey(preference::kScheduleEnabled); }
void PreferencesStore::setScheduleEnabled(bool enabled) { announceAndSet(preference::kScheduleEnabled, enabled); }
ScheduleMode PreferencesStore::scheduleMode() const {
    return scheduleModeFrom(defaults_.integerForKey(preference::kScheduleMode)).value_or(ScheduleMode::customTimes);
}
void PreferencesStore::setScheduleMode(ScheduleMode mode) {
    announceAndSet(preference::kScheduleMode, static_cast<std::int64_t>(mode));
}
std::int64_t PreferencesStore::scheduleStartMinutes() const {
    return std::clamp(integerOr(preference::kScheduleStartMinutes, kDefaultStartMinutes), kFirstMinute, kLastMinute);
}
void PreferencesStore::setScheduleStartMinutes(std::int64_t minutes) {
    announceAndSet(preference::kScheduleStartMinutes, minutes);
}
std::int64_t PreferencesStore::scheduleEndMinutes() const {
    return std::clamp(integerOr(preference::kScheduleEndMinutes, kDefaultEndMinutes), kFirstMinute, kLastMinute);
}
void PreferencesStore::setScheduleEndMinutes(std::int64_t minutes) {
    announceAndSet(preference::kScheduleEndMinutes, minutes);
}

std::optional<double> PreferencesStore::lastLatitude() const {
    return degrees(preference::kLastLatitude, kLargestLatitude);
}
std::optional<double> PreferencesStore::lastLongitude() const {
    return degrees(preference::kLastLongitude, kLargestLongitude);
}
void PreferencesStore::setLastLatitude(double degrees) { defaults_.set(preference::kLastLatitude, degrees); }
void PreferencesStore::setLastLongitude(double degrees) { defaults_.set(preference::kLastLongitude, degrees); }

LocationSource PreferencesStore::locationSource() const {
    const auto stored = defaults_.stringForKey(preference::kLocationSource);
    if (stored == kTyped) return LocationSource::typed;
    if (stored == kZone) return LocationSource::zone;
    return LocationSource::service;
}
void PreferencesStore::setLocationSource(LocationSource source) {
    const auto text = source == LocationSource::typed ? kTyped : source == LocationSource::zone ? kZone : kService;
    announceAndSet(preference::kLocationSource, std::string(text));
}

std::int64_t PreferencesStore::shortcutKeyCode() const {
    return integerOr(preference::kShortcutKeyCode, kDefaultShortcutKeyCode);
}
std::int64_t PreferencesStore::shortcutModifiers() const {
    return integerOr(preference::kShortcutModifiers, kDefaultShortcutModifiers);
}
void PreferencesStore::setShortcut(std::int64_t keyCode, std::int64_t modifiers) {
    announceAndSet(preference::kShortcutKeyCode, keyCode);
    announceAndSet(preference::kShortcutModifiers, modifiers);
}
bool PreferencesStore::shortcutEnabled() const { return boolOr(preference::kShortcutEnabled, true); }
void PreferencesStore::setShortcutEnabled(bool enabled) { announceAndSet(preference::kShortcutEnabled, enabled); }

bool PreferencesStore::breakReminderEnabled() const { return defaults_.boolForKey(preference::kBreakReminderEnabled); }
void PreferencesStore::setBreakReminderEnabled(bool enabled) {
    announceAndSet(preference::kBreakReminderEnabled, enabled);
}
std::int64_t PreferencesStore::breakIntervalMinutes() const {
    return defaults_.integerForKey(preference::kBreakIntervalMinutes);
}
void PreferencesStore::setBreakIntervalMinutes(std::int64_t minutes) {
    announceAndSet(preference::kBreakIntervalMinutes, minutes);
}

bool PreferencesStore::hasSeenOnboarding() const { return defaults_.boolForKey(preference::kHasSeenOnboarding); }
void PreferencesStore::setHasSeenOnboarding(bool seen) { announceAndSet(preference::kHasSeenOnboarding, seen); }
bool PreferencesStore::advancedExpanded() const { return defaults_.boolForKey(preference::kAdvancedExpanded); }
void PreferencesStore::setAdvancedExpanded(bool expanded) { defaults_.set(preference::kAdvancedExpanded, expanded); }

bool PreferencesStore::boolOr(std::string_view key, bool whenAbsent) const {
    return defaults_.object(key) ? defaults_.boolForKey(key) : whenAbsent;
}

std::int64_t PreferencesStore::integerOr(std::string_view key, std::int64_t whenAbsent) const {
    return defaults_.object(key) ? defaults_.integerForKey(key) : whenAbsent;
}

double PreferencesStore::held(std::string_view key, const AdjustmentRange& range) const {
    return range.nearest(defaults_.doubleForKey(key));
}

std::optional<double> PreferencesStore::degrees(std::string_view key, double limit) const {
    const auto stored = defaults_.object(key);
    if (!stored || !(std::holds_alternative<double>(*stored) || std::holds_alternative<std::int64_t>(*stored)))
        return std::nullopt;
    const double number = defaults_.doubleForKey(key);
    return std::abs(number) <= limit ? std::optional(number) : std::nullopt;
}

void PreferencesStore::announceAndSet(std::string_view key, DefaultsValue value) {
    changes_.notifyWillChange();
    defaults_.set(key, std::move(value));
}

}  // namespace dravo
