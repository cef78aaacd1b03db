#pragma once

#include <QPixmap>

#include "filter/filter_preset.h"

namespace dravo::ui {

/// A dot of 14 pixels in the preset's colour, for `scale` device pixels a pixel. Drawn once for equal dots.
[[nodiscard]] QPixmap swatchImage(const FilterPreset& preset, qreal scale);

}  // namespace dravo::ui
