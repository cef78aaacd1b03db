#pragma once

#include <functional>
#include <optional>
#include <string_view>
#include <vector>

#include "app/control.h"
#include "app/port_report.h"
#include "base/calendar.h"
#include "base/result.h"
#include "cli/exit_code.h"
#include "cli/output.h"
#include "display/displays.h"
#include "filter/filter_preset.h"
#include "schedule/location_service.h"

namespace dravo {

class CustomPresetStore;
class PictureService;
class LastingDisplays;

namespace cli {

class RunningInstance;

/// A time zone as far as the commands care. Lifetime: that of the context.
struct TimeZone {
    const Calendar& calendar;
    /// The zone's principal place. Errors: `NotFound` (it has none).
    std::function<Result<Position>()> position;
};

/// What the commands ask of the world. Nothing is made before a command needs it, so that the others start at once;
/// what is returned lives until the process ends.
///
/// Lifetime: outlives the command's run.
class CommandContext {
public:
    CommandContext(std::FILE* standardOutput, std::FILE* standardError) : out(standardOutput), err(standardError) {}
    virtual ~CommandContext() = default;
    CommandContext(const CommandContext&) = delete;
    CommandContext& operator=(const CommandContext&) = delete;

    Output out;
    Output err;

    /// Errors: `NotFound` (no display server to talk to), `Unsupported` (one that cannot do it), `PermissionDenied`.
    virtual Result<Displays*> displays() = 0;

    /// Whether `displays` would take them from whoever has them. Then they are not asked for.
    virtual bool wouldTakeDisplays() = 0;

    /// What works on this desktop, as the running Dravo says, or as can be found out without it. Takes two seconds at
    /// most, whatever hangs.
    virtual std::vector<PortReport> examine() = 0;

    /// The person's own presets; none if there is no file of them.
    /// Errors: `InvalidInput`, `PermissionDenied`, `Internal` (there is one that cannot be used).
    virtual Result<std::vector<FilterPreset>> userPresets() = 0;

    /// The same as a store to change.
    virtual CustomPresetStore& presetStore() = 0;

    /// The zone of that name, or the system's.
    /// Errors: `NotFound` (no such zone).
    virtual Result<TimeZone> timeZone(std::optional<std::string_view> name) = 0;

    /// Where the person is, as the preferences have it.
    virtual std::optional<Position> knownPosition() = 0;

    virtual WallTime now() = 0;

    /// The way to ask the running Dravo, whether there is one or not.
    virtual ControlClient& control() = 0;

    /// Whoever filters already; one that never runs where nothing can.
    virtual RunningInstance& runningInstance() = 0;

    /// Becomes the Dravo that filters and carries `first` out; returns when that ends.
    virtual ExitCode start(const ControlRequest& first) = 0;

    /// The displays with what an earlier run saved of them, and the right to change both; what that run left gray is
    /// not gray any more. Null where no run can have left anything.
    /// Errors: those of `displays`, and `Busy` (a Dravo has been started meanwhile).
    virtual Result<LastingDisplays*> displaysToRestore() = 0;

    /// Errors: `NotFound`, `Unsupported`: this installation cannot make pictures.
    virtual Result<PictureService*> pictures() = 0;
};

}  // namespace cli

}  // namespace dravo
