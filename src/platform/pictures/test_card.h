#pragma once

#include "base/result.h"
#include "pictures/picture.h"

namespace dravo::pictures {

/// Width and height of the test card in its own units.
inline constexpr double kTestCardWidth = 960;
inline constexpr double kTestCardHeight = 600;

/// A bright screen as people have it before them: white paper with text, a photograph, colours, greys.
/// Errors: `Internal`.
[[nodiscard]] Result<Picture> drawTestCard(double scale);

}  // namespace dravo::pictures
