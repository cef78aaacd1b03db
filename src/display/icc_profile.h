#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

#include "display/gamma_table.h"

namespace dravo {

/// Where an ICC profile's table of tags begins: the number of tags, then for each its signature, offset and size. All
/// numbers in a profile are big-endian and, in this table, of 32 bits.
inline constexpr std::size_t kIccHeaderSize = 128;

/// One tag of a profile.
struct IccTag {
    std::uint32_t signature = 0;
    std::span<const std::uint8_t> data;  ///< Within the profile.
};

/// A tag's signature by its four characters.
[[nodiscard]] constexpr std::uint32_t iccSignature(const char (&text)[5]) {
    std::uint32_t signature = 0;
    for (int i = 0; i < 4; ++i) signature = signature << 8 | static_cast<std::uint8_t>(text[i]);
    return signature;
}

/// The tags of a profile in their order, but for those that do not lie within it. Empty when it is no profile.
[[nodiscard]] std::vector<IccTag> tagsOfProfile(std::span<const std::uint8_t> profile);

/// The calibration that an ICC profile asks to be loaded into the display: its `vcgt` tag, a table or a formula.
///
/// A table keeps its own length; a formula is evaluated at 256 entries. None when the profile has no such tag or it is
/// damaged: a profile is anybody's file, so every offset and count is checked and nothing in it is trusted.
///
/// Layout of the tag: its signature, four reserved bytes and its kind: 0 with channels, entries and bytes per entry as
/// 16-bit numbers and the levels channel by channel; 1 with gamma, minimum and maximum of each channel as s15Fixed16
/// numbers.
[[nodiscard]] std::optional<GammaTable> calibrationOfProfile(std::span<const std::uint8_t> profile);

}  // namespace dravo
