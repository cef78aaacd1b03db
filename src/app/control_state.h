#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "base/scheduler.h"
#include "display/displays.h"
#include "filter/preferences_store.h"

namespace dravo {

/// A display as control from outside sees it.
struct ControlledDisplay {
    DisplayId id{};
    std::string name;
    std::size_t tableSize = 0;
    std::string
        problem;  ///< Why it cannot be filtered, in English, also the key of its translation; empty when it can.
    bool operator==(const ControlledDisplay&) const = default;
};
[[nodiscard]] ControlledDisplay controlled(const DisplayDescription& display);

/// What the program tells about itself to the outside, at one moment. A plain copy; nothing is computed here.
struct ControlState {
    bool isEnabled = false;  ///< The filter is on; false while paused.
    std::string preset;      ///< The selected preset's id.
    double intensity = 0;
    double dimming = 0;
    double blackPoint = 0;
    double contrast = 0;
    bool isEdited = false;  ///< The adjustments differ from the preset's own.
    std::optional<WallTime> pausedUntil;
    double melanopicReduction = 0;  ///< Percent of melanopic light that the present filter removes.

    struct Schedule {
        bool enabled = false;
        ScheduleMode mode = ScheduleMode::customTimes;
        std::int32_t startMinutes = 0;  ///< Minutes of the local day, 0..1439.
        std::int32_t endMinutes = 0;
        bool operator==(const Schedule&) const = default;
    } schedule;

    /// The schedule's next switch.
    struct NextChange {
        WallTime at;
        bool turnsOn = false;
        bool operator==(const NextChange&) const = default;
    };
    std::optional<NextChange> nextChange;

    struct Breaks {
        bool enabled = false;
        std::int32_t intervalMinutes = 0;
        std::int32_t secondsRemaining = 0;  ///< Until the next break; 0 while disabled.
        std::int32_t breakSecondsLeft = 0;  ///< Of the break that is on; 0 when none is.
        bool operator==(const Breaks&) const = default;
    } breaks;

    struct Location {
        LocationSource source = LocationSource::service;
        std::string status = "idle";  ///< "idle", "waiting", "available" or "denied".
        std::optional<double> latitude;
        std::optional<double> longitude;
        bool operator==(const Location&) const = default;
    } location;

    std::vector<ControlledDisplay> displays;
    bool lacksGrayscale = false;  ///< The preset wants everything gray, and this desktop cannot.
};

/// Names as they are written everywhere outside: "customTimes", "sunsetToSunrise"; "service", "typed", "zone".
[[nodiscard]] std::string_view nameOf(ScheduleMode mode);
[[nodiscard]] std::string_view nameOf(LocationSource source);
[[nodiscard]] std::optional<ScheduleMode> scheduleModeNamed(std::string_view name);
[[nodiscard]] std::optional<LocationSource> locationSourceNamed(std::string_view name);

/// One display as a JSON object; `more` is added inside it and begins with a comma.
[[nodiscard]] std::string displayJson(const ControlledDisplay& display, std::string_view more = {});

/// The state as one JSON object on one line, for scripts: times in UTC as "2026-11-22T18:30:00Z", null for what is not.
/// Where the machine stands is not in it.
[[nodiscard]] std::string controlStateJson(const ControlState& state);

}  // namespace dravo
