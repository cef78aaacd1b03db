#pragma once

#include <string>

#include "app/control_state.h"
#include "base/calendar.h"

namespace dravo::cli {

/// What the running Dravo does, for a person: a line for each thing, times in the calendar's zone.
[[nodiscard]] std::string statusText(const ControlState& state, WallTime now, const Calendar& calendar);

/// The same as one line, without what changes each second.
[[nodiscard]] std::string statusLine(const ControlState& state, WallTime now, const Calendar& calendar);

/// Parts of it: "20:00-07:00", "sun" or "off", as `dravo schedule` takes them, and for the others a phrase.
[[nodiscard]] std::string scheduleText(const ControlState& state);
[[nodiscard]] std::string locationText(const ControlState& state);
[[nodiscard]] std::string breaksText(const ControlState& state);

}  // namespace dravo::cli
