#include "controller/schedule_window.h"

#include <map>
#include <tuple>

#include "schedule/solar_calculator.h"

namespace dravo {

bool DailyWindow::contains(std::int64_t minuteOfDay) const {
    if (start <= end) return start <= minuteOfDay && minuteOfDay < end;
    return minuteOfDay >= start || minuteOfDay < end;
}

DailyWindow scheduleWindowAt(WallTime instant, const PreferencesStore& preferences, const Calendar& calendar) {
    const auto latitude = preferences.lastLatitude();
    const auto longitude = preferences.lastLongitude();
    if (preferences.scheduleMode() == ScheduleMode::sunsetToSunrise && latitude && longitude) {
        const auto sun = SolarCalculator::scheduleWindow(instant, calendar, *latitude, *longitude);
        if (sun) return {sun->startMinutes, sun->endMinutes};
    }
    return {preferences.scheduleStartMinutes(), preferences.scheduleEndMinutes()};
}

bool isInScheduleWindow(WallTime instant, const PreferencesStore& preferences, const Calendar& calendar) {
    return scheduleWindowAt(instant, preferences, calendar).contains(SolarCalculator::minutesOfDay(instant, calendar));
}

std::optional<WallTime> nextScheduleChange(WallTime instant, const PreferencesStore& preferences,
                                           const Calendar& calendar) {
    using namespace std::chrono_literals;
    constexpr auto kHorizon = 48h;
    // A window holds for a local day, so the sun is asked once a day and not once a minute.
    std::map<std::tuple<int, int, int>, DailyWindow> windows;
    const auto isIn = [&](WallTime minute) {
        const auto local = calendar.fields(minute);
        const auto [entry, isNew] = windows.try_emplace({local.year, local.month, local.day});
        if (isNew) entry->second = scheduleWindowAt(minute, preferences, calendar);
        return entry->second.contains(local.hour * 60 + local.minute);
    };
    const bool isInNow = isIn(instant);
    const WallTime firstMinute = std::chrono::floor<std::chrono::minutes>(instant) + 1min;
    for (WallTime minute = firstMinute; minute <= instant + kHorizon; minute += 1min)
        if (isIn(minute) != isInNow) return minute;
    return std::nullopt;
}

}  // namespace dravo
