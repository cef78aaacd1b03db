#pragma once

#include <optional>

#include "base/calendar.h"
#include "base/scheduler.h"

namespace dravo {

/// Sunrise and sunset of one calendar day; sunrise comes first.
struct SolarTimes {
    WallTime sunrise;
    WallTime sunset;
    bool operator==(const SolarTimes&) const = default;
};

/// The part of the day in which the filter is on, as local minutes of the day, 0..1439: from sunset to sunrise.
struct ScheduleWindow {
    int startMinutes = 0;
    int endMinutes = 0;
    bool operator==(const ScheduleWindow&) const = default;
};

/// Sunrise and sunset by the sunrise equation (epoch J2000, three terms of the equation of the centre, obliquity
/// 23.4397 degrees, the sun's centre 0.833 degrees below the horizon); good to a minute or two. No elevation.
///
/// Latitude and longitude are degrees, north and east positive. The time zone enters only through the calendar, as
/// the day that an instant falls on and as minutes of the day. Nothing is remembered.
///
/// Thread: any for which the calendar answers.
struct SolarCalculator {
    /// The number of the Gregorian day on which `instant` falls: of the day whose noon UTC is that Julian date.
    [[nodiscard]] static int julianDayNumber(WallTime instant, const Calendar& calendar);

    /// Of the calendar day of `instant`. Nothing if the sun does not cross the horizon on that day, or if a
    /// coordinate is not a number.
    [[nodiscard]] static std::optional<SolarTimes> solarTimes(WallTime instant, double latitude, double longitude,
                                                              const Calendar& calendar);

    /// The minutes of that day's sunset and sunrise; nothing exactly when `solarTimes` has none.
    [[nodiscard]] static std::optional<ScheduleWindow> scheduleWindow(WallTime instant, const Calendar& calendar,
                                                                      double latitude, double longitude);

    /// Hour x 60 + minute in the calendar; seconds are dropped.
    [[nodiscard]] static int minutesOfDay(WallTime instant, const Calendar& calendar);
};

}  // namespace dravo
