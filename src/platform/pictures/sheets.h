#pragma once

#include <span>

#include "base/result.h"
#include "pictures/picture_service.h"

namespace dravo::pictures {

/// See `PictureService`. Errors: `Internal`.
[[nodiscard]] Result<Picture> drawPresetSheet(std::span<const PresetCell> cells);
[[nodiscard]] Result<Picture> drawBeforeAndAfter(std::span<const DisplayCell> cells);

}  // namespace dravo::pictures
