#pragma once

#include <cstdint>
#include <optional>

#include "base/calendar.h"
#include "filter/preferences_store.h"

namespace dravo {

/// A daily window in minutes after local midnight. Its start belongs to it, its end does not; a start after the end
/// crosses midnight; equal ones make an empty window.
struct DailyWindow {
    std::int64_t start = 0;
    std::int64_t end = 0;

    [[nodiscard]] bool contains(std::int64_t minuteOfDay) const;
};

/// The window of the day of `instant`: sunset to sunrise at the stored position if that is chosen, known and happens
/// on that day, else the custom times.
[[nodiscard]] DailyWindow scheduleWindowAt(WallTime instant, const PreferencesStore& preferences,
                                           const Calendar& calendar);

/// Whether the schedule wants the filter on at `instant`.
[[nodiscard]] bool isInScheduleWindow(WallTime instant, const PreferencesStore& preferences, const Calendar& calendar);

/// The first full minute after `instant` at which the schedule wants something else than at `instant`; none if that
/// does not happen within two days. It follows the minutes of the day through clock changes as the evaluation does,
/// and never the sun's instants, which in some zones fall on another local day than the one they are computed for.
[[nodiscard]] std::optional<WallTime> nextScheduleChange(WallTime instant, const PreferencesStore& preferences,
                                                         const Calendar& calendar);

}  // namespace dravo
