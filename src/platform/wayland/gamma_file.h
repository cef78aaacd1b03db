#pragma once

#include "base/unique_fd.h"
#include "display/ramp_levels.h"

namespace dravo::wayland {

/// A table as compositors read it: a file in memory with all levels of red, then of green, then of blue, and nothing
/// behind them, read from its beginning. Nobody can change it any more. None if the system has no room for it.
///
/// One file serves one load: some compositors read from where the last reader of the file has stopped.
[[nodiscard]] UniqueFd makeGammaFile(const RampLevels& levels);

}  // namespace dravo::wayland
