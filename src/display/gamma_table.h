#pragma once

#include <array>
#include <cstddef>
#include <vector>

#include "filter/filter_preset.h"
#include "filter/rgb.h"

namespace dravo {

/// A transfer table: for each channel the output level 0..1 of every input level, from black to full.
///
/// Entry i of n is the output for input level i / (n - 1). The three channels have equal lengths: 256 in every table
/// computed here, the hardware's own in tables read from a display.
struct GammaTable {
    std::vector<float> red;
    std::vector<float> green;
    std::vector<float> blue;

    [[nodiscard]] std::size_t size() const { return red.size(); }
    bool operator==(const GammaTable&) const = default;

    /// The three channels in their order, for what treats them alike.
    static constexpr std::array<std::vector<float> GammaTable::*, 3> channels();

    /// The neutral table of 256 entries: entry i is i / 255 in 32-bit arithmetic.
    [[nodiscard]] static GammaTable identity();
};

constexpr std::array<std::vector<float> GammaTable::*, 3> GammaTable::channels() {
    return {&GammaTable::red, &GammaTable::green, &GammaTable::blue};
}

/// The person's live adjustments of a preset.
struct Adjustments {
    double intensity = 0;   ///< Strength of the colour filter, 0..1.
    double dimming = 0;     ///< Extra darkening, 0..1.
    double blackPoint = 0;  ///< Lift of black, 0..1.
    double contrast = 0;    ///< 0 neutral, negative softer, positive harder.
    bool operator==(const Adjustments&) const = default;
};

/// The colour of a black body of `kelvin` degrees, relative to its brightest channel, by a published fit of the
/// Planckian locus in sRGB (logarithms up to 6600 K, powers above). At or below 0 K green and blue are 0; NaN is black.
[[nodiscard]] Rgb kelvinToRGB(double kelvin);

/// What each channel of a white point of `kelvin` keeps, relative to 6500 K and never above 1.
[[nodiscard]] Rgb temperatureTint(double kelvin);

/// The factor of one channel: 1 at intensity 0, `factor` at intensity 1 and channel weight 1.
[[nodiscard]] double channelScale(double factor, double channelWeight, double intensity);

/// The output 0..1 of one channel at input level `x` (0..1): scaled, tinted and dimmed, then contrast about mid-grey,
/// then black lifted to `blackPoint`, then `gamma` as the exponent. NaN at the clamps becomes 0.
[[nodiscard]] double channelOutput(double x, double scale, double tint, double dimming, double contrast,
                                   double blackPoint, double gamma);

/// The table of 256 entries of a preset under the four adjustments: entry i is `channelOutput` of i / 255, to the bit.
/// The preset's own adjustments are not read, nor is `isGrayscale`. Much faster when the preset's gamma is 1.
[[nodiscard]] GammaTable computeTable(const FilterPreset& preset, double intensity, double dimming, double blackPoint,
                                      double contrast);

/// Blends entry by entry: `t` 0 gives `from`, 1 gives `to`. The result has the shorter table's length.
[[nodiscard]] GammaTable interpolate(const GammaTable& from, const GammaTable& to, float t);

/// The same curve at `size` entries, by linear interpolation over the whole range. A table of that size is returned
/// as it is; fewer than 2 entries on either side give an empty table.
[[nodiscard]] GammaTable resample(const GammaTable& table, std::size_t size);

}  // namespace dravo
