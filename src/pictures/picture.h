#pragma once

#include <cstdint>
#include <vector>

#include "display/gamma_table.h"

namespace dravo {

/// An uncompressed picture: rows from the top, four bytes a pixel (red, green, blue, alpha, not premultiplied).
struct Picture {
    std::uint32_t width = 0;
    std::uint32_t height = 0;
    bool hasAlpha = false;  ///< False: every alpha is 255 and need not be stored.
    std::vector<std::uint8_t> pixels;
};

/// Longest side of a picture that is read, and the most memory that one may take.
inline constexpr std::uint32_t kLongestPictureSide = 16384;
inline constexpr std::uint64_t kMostPictureBytes = std::uint64_t{256} << 20;

/// What a display with `table` shows of the picture: each channel value v becomes round(255 * table[v]). Alpha stays.
/// REQUIRES: 256 entries.
void applyTable(Picture& picture, const GammaTable& table);

}  // namespace dravo
