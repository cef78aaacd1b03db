#include "controller/schedule_window.h"

#include <algorithm>
#include <chrono>

#include "schedule/solar_calculator.h"

namespace dravo {

namespace {

using namespace std::chrono_literals;

std::chrono::seconds aheadOfUtc(WallTime instant, const Calendar& calendar) {
    using namespace std::chrono;
    const LocalFields local = calendar.fields(instant);
    const sys_days day = year{local.year} / local.month / local.day;
    return day + hours{local.hour} + minutes{local.minute} + seconds{local.second} - floor<seconds>(instant);
}

/// The first minute in (from, through] at which the zone's clocks have been set, else `through`. No zone sets its
/// clocks twice within a day.
WallTime nextClockChange(WallTime from, WallTime through, const Calendar& calendar) {
    const auto before = aheadOfUtc(from, calendar);
    if (aheadOfUtc(through, calendar) == before) return through;
    while (through - from > 1min) {
        const WallTime middle = from + std::chrono::floor<std::chrono::minutes>((through - from) / 2);
        (aheadOfUtc(middle, calendar) == before ? from : through) = middle;
    }
    return through;
}

}  // namespace

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
    constexpr auto kHorizon = 48h;
    constexpr std::int64_t kMidnight = 24 * 60;
    const bool isInNow = isInScheduleWindow(instant, preferences, calendar);
    WallTime at = std::chrono::floor<std::chrono::minutes>(instant) + 1min;
    while (at <= instant + kHorizon) {
        const DailyWindow window = scheduleWindowAt(at, preferences, calendar);
        const std::int64_t minute = SolarCalculator::minutesOfDay(at, calendar);
        if (window.contains(minute) != isInNow) return at;
        // The answer holds up to the window's next boundary or the next day's window, whichever the clocks show first.
        std::int64_t next = kMidnight;
        for (const std::int64_t boundary : {window.start, window.end})
            if (boundary > minute) next = std::min(next, boundary);
        at = nextClockChange(at, at + std::chrono::minutes{next - minute}, calendar);
    }
    return std::nullopt;
}

}  // namespace dravo
