#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <vector>

#include "display/ramp_levels.h"

// ICC display profiles that carry a transfer table and change no colour. What they are made of stands in ICC.1 (version
// 4.3), but for the `vcgt` tag, whose layout `calibrationOfProfile` gives.

namespace dravo::plasma {

using ProfileBytes = std::vector<std::uint8_t>;

/// What a display's primaries and white look like: CIE 1931 x and y.
struct Chromaticities {
    struct Point {
        double x = 0;
        double y = 0;
        bool operator==(const Point&) const = default;
    };
    Point red, green, blue, white;
    bool operator==(const Chromaticities&) const = default;
};

inline constexpr Chromaticities kSrgb{{0.64, 0.33}, {0.30, 0.60}, {0.15, 0.06}, {0.3127, 0.3290}};

/// What a monitor says of itself in its EDID's base block. None without an EDID, or where it cannot be true.
[[nodiscard]] std::optional<Chromaticities> chromaticitiesOf(std::span<const std::uint8_t> edid);

/// A display profile of these colours and an exponent of 2.2, which the compositor takes for a screen's own, too.
[[nodiscard]] ProfileBytes matrixProfile(const Chromaticities& colours);

/// Whether a compositor can take `profile` for a display: its header says so, of an RGB display, and it has tags
/// that do not overlap.
[[nodiscard]] bool isDisplayProfile(std::span<const std::uint8_t> profile);

/// `profile` with `table` as its `vcgt`, in place of one that it may have: every other tag byte for byte, so that
/// colours stay what they are. REQUIRES: `isDisplayProfile`, and a table of 2 to 65535 entries.
[[nodiscard]] ProfileBytes withTable(std::span<const std::uint8_t> profile, const RampLevels& table);

}  // namespace dravo::plasma
