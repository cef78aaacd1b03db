#pragma once

#include <cstdint>
#include <optional>
#include <span>

#include "display/gamma_table.h"

namespace dravo {

/// The calibration that an ICC profile asks to be loaded into the display: its `vcgt` tag, a table or a formula.
///
/// A table keeps its own length; a formula is evaluated at 256 entries. None when the profile has no such tag or it is
/// damaged: a profile is anybody's file, so every offset and count is checked and nothing in it is trusted.
///
/// Layout (all big-endian): tag count at byte 128, then entries {signature, offset, size}; the tag holds its signature,
/// four reserved bytes and its kind: 0 with channels, entries and bytes per entry as 16-bit numbers and the levels
/// channel by channel; 1 with gamma, minimum and maximum of each channel as s15Fixed16 numbers.
[[nodiscard]] std::optional<GammaTable> calibrationOfProfile(std::span<const std::uint8_t> profile);

}  // namespace dravo
