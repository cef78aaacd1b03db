#pragma once

#include <chrono>
#include <optional>
#include <string>
#include <type_traits>
#include <variant>
#include <vector>

#include "app/control_state.h"
#include "base/result.h"
#include "display/held_display.h"
#include "schedule/location_service.h"

namespace dravo {

/// What can be asked of the running program from outside, a type for each: all that commands, bus and program have to
/// agree on. How a request travels is the bus's matter, what comes of it `FilterControl`'s.
namespace request {

/// Requests without arguments have nothing to differ in.
template <typename Request>
requires std::is_empty_v<Request>
constexpr bool operator==(const Request&, const Request&) { return true; }

struct Toggle {};
/// Switching on what is on changes nothing. Switching off while paused drops the pause.
struct SwitchOn {};
struct SwitchOff {};

/// From now on, up to an instant, or until the next morning that the pause menu offers. Refused while the filter is
/// off, and for an instant that has passed.
struct PauseFor {
    std::chrono::seconds length{};
    bool operator==(const PauseFor&) const = default;
};
struct PauseUntil {
    WallTime end{};
    bool operator==(const PauseUntil&) const = default;
};
struct PauseUntilMorning {};
/// Without a pause it changes nothing.
struct Resume {};

/// With the preset's own adjustments. Refused when no preset has this id.
struct SelectPreset {
    std::string id;
    bool operator==(const SelectPreset&) const = default;
};
/// What is absent stays as it is; so in the other changes.
struct SetAdjustments {
    std::optional<double> intensity = {};
    std::optional<double> dimming = {};
    std::optional<double> blackPoint = {};
    std::optional<double> contrast = {};
    bool operator==(const SetAdjustments&) const = default;
};
/// The adjustments become the preset's own again.
struct RevertToPreset {};

struct SetSchedule {
    std::optional<bool> enabled = {};
    std::optional<ScheduleMode> mode = {};
    std::optional<std::int32_t> startMinutes = {};  ///< Minutes of the local day, 0..1439.
    std::optional<std::int32_t> endMinutes = {};
    bool operator==(const SetSchedule&) const = default;
};
/// `position` is given with `typed` and only with it. Refused when the source is the time zone and that has no place.
struct SetLocation {
    LocationSource source = LocationSource::service;
    std::optional<Position> position = {};
    bool operator==(const SetLocation&) const = default;
};
/// In force when it is answered. Enabling what is enabled changes nothing; an interval begins anew, the same one too.
struct SetBreaks {
    std::optional<bool> enabled = {};
    std::optional<std::int32_t> intervalMinutes = {};  ///< 1..1440.
    bool operator==(const SetBreaks&) const = default;
};
/// Without a break it changes nothing.
struct DismissBreak {};

/// Adds the presets of a JSON text, all or none. The answer has their ids.
struct ImportPresets {
    std::string text;
    bool operator==(const ImportPresets&) const = default;
};
/// The answer has the person's presets with these ids as a JSON array; no ids: all.
struct ExportPresets {
    std::vector<std::string> ids = {};
    bool operator==(const ExportPresets&) const = default;
};

/// Shows the panel, as a person's second start does. Errors: `Unsupported` (this run has none).
struct Activate {};
/// Switches off without a fade; answered once the displays have confirmed that they have their own tables back.
/// Errors: what the display server refused with; the filter is off all the same.
struct Restore {};
/// Answered first; the program ends in the loop's next turn.
struct Quit {};
/// Tells what every display holds.
struct ListDisplays {};

}  // namespace request

using ControlRequest =
    std::variant<request::Toggle, request::SwitchOn, request::SwitchOff, request::PauseFor, request::PauseUntil,
                 request::PauseUntilMorning, request::Resume, request::SelectPreset, request::SetAdjustments,
                 request::RevertToPreset, request::SetSchedule, request::SetLocation, request::SetBreaks,
                 request::DismissBreak, request::ImportPresets, request::ExportPresets, request::Activate,
                 request::Restore, request::Quit, request::ListDisplays>;

/// What a request is answered with; empty for most.
struct ControlAnswer {
    std::vector<std::string> ids = {};  ///< Of what `ImportPresets` added.
    std::string json = {};              ///< Of what `ExportPresets` asked for.
    std::string backend = {};           ///< As `Displays::backend`, for `ListDisplays`.
    std::vector<HeldDisplay> displays = {};
};

/// Whether a request may be carried out, as far as that shows in itself. The message names the value and its range.
/// Errors: `InvalidInput`.
[[nodiscard]] Result<void> validate(const ControlRequest& request);

}  // namespace dravo
