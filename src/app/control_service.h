#pragma once

#include <chrono>
#include <functional>
#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "app/control_state.h"
#include "base/result.h"
#include "base/subscription.h"
#include "schedule/location_service.h"

namespace dravo {

struct UntilMorning {};  ///< The next morning that the pause menu offers.

/// How long a pause lasts: a span from now, up to an instant, or until morning.
using PauseLength = std::variant<std::chrono::seconds, WallTime, UntilMorning>;

/// What is absent stays as it is.
struct AdjustmentChange {
    std::optional<double> intensity = {};
    std::optional<double> dimming = {};
    std::optional<double> blackPoint = {};
    std::optional<double> contrast = {};
};

struct ScheduleChange {
    std::optional<bool> enabled = {};
    std::optional<ScheduleMode> mode = {};
    std::optional<std::int32_t> startMinutes = {};  ///< Minutes of the local day, 0..1439.
    std::optional<std::int32_t> endMinutes = {};
};

struct BreaksChange {
    std::optional<bool> enabled = {};
    std::optional<std::int32_t> intervalMinutes = {};  ///< 1..1440.
};

/// A change of the position's source; `position` is given with `typed` and only with it.
struct LocationChange {
    LocationSource source = LocationSource::service;
    std::optional<Position> position = {};
};

/// Whether a change may be carried out; every way in asks before it calls the target. The message names the value and
/// its range. Errors: `InvalidInput`.
[[nodiscard]] Result<void> validate(const PauseLength& length);
[[nodiscard]] Result<void> validate(const AdjustmentChange& change);
[[nodiscard]] Result<void> validate(const ScheduleChange& change);
[[nodiscard]] Result<void> validate(const BreaksChange& change);
[[nodiscard]] Result<void> validate(const LocationChange& change);

/// The running program as control from outside sees it: one state, and an operation for everything a person can do.
///
/// REQUIRES: changes pass `validate`. Errors of every operation but `activate` and `restore`: `InvalidInput`, with a
/// sentence for whoever called; it then has changed nothing. Thread: main thread. Lifetime: outlives its subscriptions.
class ControlTarget {
public:
    virtual ~ControlTarget() = default;

    [[nodiscard]] virtual ControlState controlState() const = 0;

    /// `callback` runs after something in the state may have changed, countdowns included; as often as it likes.
    [[nodiscard]] virtual Subscription onStateChange(std::function<void()> callback) = 0;

    virtual Result<void> toggle() = 0;
    /// Switching on what is on changes nothing. Switching off while paused drops the pause.
    virtual Result<void> switchOn() = 0;
    virtual Result<void> switchOff() = 0;
    /// Refused while the filter is off, and for an instant that has passed.
    virtual Result<void> pause(const PauseLength& length) = 0;
    virtual Result<void> resume() = 0;  ///< Without a pause it changes nothing.

    /// Refused when no preset has this id.
    virtual Result<void> selectPreset(const std::string& id) = 0;
    virtual Result<void> setAdjustments(const AdjustmentChange& change) = 0;
    virtual Result<void> setSchedule(const ScheduleChange& change) = 0;
    /// Refused when the source is the time zone and that has no place.
    virtual Result<void> setLocation(const LocationChange& change) = 0;
    virtual Result<void> setBreaks(const BreaksChange& change) = 0;
    virtual Result<void> dismissBreak() = 0;  ///< Without a break it changes nothing.

    /// Adds the presets of a JSON text, all or none, and returns their ids.
    virtual Result<std::vector<std::string>> importPresets(const std::string& text) = 0;
    /// The person's presets with these ids as a JSON array; no ids: all.
    virtual Result<std::string> exportPresets(const std::vector<std::string>& ids) = 0;

    /// Shows the panel, as a person's second start does. Errors: `Unsupported` (this run has none).
    virtual Result<void> activate() = 0;
    /// Switches off without a fade, and returns once the displays have confirmed that they have their own tables back.
    /// Errors: what the display server refused with; the filter is off all the same.
    virtual Result<void> restore() = 0;
    virtual Result<void> quit() = 0;  ///< Returns first; the program ends in the loop's next turn.
};

/// Makes a target reachable from outside this process.
class ControlService {
public:
    virtual ~ControlService() = default;

    /// Starts to serve, from the loop; never waits. What is missing for it is said in one line on standard error, and
    /// the program goes on without. Call once. Lifetime: `target` outlives this.
    virtual void serve(ControlTarget& target) = 0;
};

}  // namespace dravo
