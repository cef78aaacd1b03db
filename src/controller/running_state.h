#pragma once

#include <optional>
#include <string>

#include "base/scheduler.h"
#include "display/gamma_table.h"

namespace dravo {

/// What the controller holds beyond the stored settings, for a program that replaces itself without a change on screen.
struct RunningState {
    bool isEnabled = false;
    std::optional<WallTime> pausedUntil;
    bool scheduleOverride = false;     ///< A hand toggle holds until the schedule's next change.
    std::optional<bool> lastInWindow;  ///< What the schedule said last.
    std::string presetID;
    Adjustments adjustments;
    bool operator==(const RunningState&) const = default;
};

}  // namespace dravo
