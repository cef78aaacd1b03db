#pragma once

#include <span>

#include "base/result.h"
#include "cli/picture_service.h"

namespace dravo::pictures {

/// See `cli::PictureService`. Errors: `Internal`.
[[nodiscard]] Result<cli::Picture> drawPresetSheet(std::span<const cli::PresetCell> cells);
[[nodiscard]] Result<cli::Picture> drawBeforeAndAfter(std::span<const cli::DisplayCell> cells);

}  // namespace dravo::pictures
