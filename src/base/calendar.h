#pragma once

#include <functional>

#include "base/scheduler.h"
#include "base/subscription.h"

namespace dravo {

/// An instant's local fields: Gregorian year, month 1..12, day 1..31, hour 0..23, minute 0..59, second 0..60.
struct LocalFields {
    int year = 2000;
    int month = 1;
    int day = 1;
    int hour = 0;
    int minute = 0;
    int second = 0;
    bool operator==(const LocalFields&) const = default;
};

/// The person's calendar and time zone as they are now.
///
/// Thread: main thread. Answers are never cached by callers: the zone may change while the program runs.
class Calendar {
public:
    virtual ~Calendar() = default;

    /// The local fields of an instant in the current zone.
    [[nodiscard]] virtual LocalFields fields(WallTime instant) const = 0;

    /// The instant at which these local fields occur (hour, minute and day may overflow and are normalised; a time
    /// skipped by a clock change maps to the instant after the gap, a repeated one to its first occurrence).
    [[nodiscard]] virtual WallTime instant(const LocalFields& fields) const = 0;

    /// `callback` runs after the system's zone has changed.
    [[nodiscard]] virtual Subscription onZoneChange(std::function<void()> callback) = 0;
};

/// The first instant after `after` at which the clocks show this minute of the day.
[[nodiscard]] inline WallTime nextTimeOfDay(int minutes, WallTime after, const Calendar& calendar) {
    LocalFields fields = calendar.fields(after);
    fields.hour = 0;
    fields.minute = minutes;
    fields.second = 0;
    const WallTime today = calendar.instant(fields);
    if (today > after) return today;
    ++fields.day;
    return calendar.instant(fields);
}

}  // namespace dravo
