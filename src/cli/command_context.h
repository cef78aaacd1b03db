#pragma once

#include <functional>
#include <vector>

#include "base/result.h"
#include "cli/output.h"
#include "display/display_server.h"
#include "filter/model/filter_preset.h"

namespace dravo {

class OriginalGammaStore;

namespace cli {

class PictureService;
class RunningInstance;

/// What the commands ask of the world. A factory is called only by a command that needs what it makes, so that the
/// others start at once; what it returns lives until the process ends.
///
/// Lifetime: outlives the command's run.
struct CommandContext {
    Output& out;
    Output& err;

    /// Errors: `NotFound` (no display server to talk to), `Unsupported` (one that cannot do it), `PermissionDenied`.
    std::function<Result<DisplayServer*>()> displays;

    /// The person's own presets; a file of them that cannot be used counts as none, and is complained about.
    std::function<std::vector<FilterPreset>()> userPresets;

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
