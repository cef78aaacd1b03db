#pragma once

#include <functional>
#include <optional>
#include <string_view>
#include <vector>

#include "base/calendar.h"
#include "base/result.h"
#include "cli/output.h"
#include "display/display_server.h"
#include "filter/filter_preset.h"
#include "schedule/location_service.h"

namespace dravo {

class ControlClient;
class CustomPresetStore;
class OriginalGammaStore;

namespace cli {

class PictureService;
class RunningInstance;

/// A time zone as far as the commands care. Lifetime: that of the context.
struct TimeZone {
    const Calendar& calendar;
    /// The zone's principal place. Errors: `NotFound` (it has none).
    std::function<Result<Position>()> position;
};

/// What the commands ask of the world. A factory is called only by a command that needs what it makes, so that the
/// others start at once; what it returns lives until the process ends.
///
/// Lifetime: outlives the command's run.
struct CommandContext {
    Output& out;
    Output& err;

    /// Errors: `NotFound` (no display server to talk to), `Unsupported` (one that cannot do it), `PermissionDenied`.
    std::function<Result<DisplayServer*>()> displays;

    /// The person's own presets; none if there is no file of them.
    /// Errors: `InvalidInput`, `PermissionDenied`, `Internal` (there is one that cannot be used).
    std::function<Result<std::vector<FilterPreset>>()> userPresets;

    /// The same as a store to change.
    std::function<CustomPresetStore&()> presetStore;

    /// The zone of that name, or the system's.
    /// Errors: `NotFound` (no such zone).
    std::function<Result<TimeZone>(std::optional<std::string_view> name)> timeZone;

    std::function<WallTime()> now;

    /// The way to ask the running Dravo, whether there is one or not.
    std::function<ControlClient&()> control;

    /// Whoever filters already; one that never runs where nothing can.
    std::function<RunningInstance&()> runningInstance;

    /// What an earlier run saved, and the right to change it.
    /// Errors: `Busy` (a Dravo has been started meanwhile), `PermissionDenied`, `Internal`.
    std::function<Result<OriginalGammaStore*>(DisplayServer&)> savedTables;

    /// Errors: `NotFound`, `Unsupported`: this installation cannot make pictures.
    std::function<Result<PictureService*>()> pictures;
};

}  // namespace cli

}  // namespace dravo
