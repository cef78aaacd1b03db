#pragma once

#include "display/gamma_table.h"
#include "platform/pictures/canvas.h"

namespace dravo::pictures {

/// Looks that the sheets share: the dark scheme, so that a sheet of filters does not glare.
inline constexpr Ink kBackground{0x151417};
inline constexpr Ink kCard{0x1c1b1f};
inline constexpr Ink kSunk{0x121114};
inline constexpr Ink kText{0xe9e6ea};
inline constexpr Ink kSecondaryText{0xe9e6ea, 0.66};
inline constexpr Ink kHairline{0xffffff, 0.10};
inline constexpr double kCardRadius = 12;
inline constexpr double kPictureRadius = 7;
inline constexpr double kOuterPadding = 32;
inline constexpr double kGap = 20;
inline constexpr double kCardPadding = 14;

/// Pixels for one unit of a sheet.
inline constexpr double kSheetScale = 1.5;

void drawCard(Canvas& canvas, const Box& box);

/// The three curves of a table over its input levels.
void drawCurves(Canvas& canvas, const Box& box, const GammaTable& table);

}  // namespace dravo::pictures
