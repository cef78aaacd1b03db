#pragma once

#include <span>

#include "display/gamma_table.h"
#include "filter/filter_preset.h"

namespace dravo {

/// One bell of an emission spectrum: `amplitude` at `center`, falling off with `sigma` (both nm).
struct SpectralPeak {
    double center = 0;
    double amplitude = 0;
    double sigma = 0;
};

/// How strongly melanopsin answers to light of `wavelength` (nm), relative: a tabulated curve from 380 to 780 nm with
/// its peak near 490 nm, linear between the points, its end values outside.
[[nodiscard]] double melanopicSensitivity(double wavelength);

/// The mean sensitivity over a spectrum, weighted by its power, at `from`, `from` + `by`, ... up to and including
/// `through` (nm); 0 for a spectrum without power. REQUIRES: `by` is positive.
[[nodiscard]] double melanopicEfficiency(std::span<const SpectralPeak> spectrum, double from, double through,
                                         double by);

/// Estimates by how many percent, 0..100, a preset under these adjustments reduces the melanopic light of a white
/// screen. The white point decides: black point, contrast and gamma count only for what they do to full input, and
/// grayscale does not count. Not a measurement: the display's primaries are taken to be single bells.
///
/// Thread: any. Cheap: the weights of the primaries are worked out once.
[[nodiscard]] double melanopicReduction(const FilterPreset& preset, const Adjustments& adjustments);

/// The same for given outputs, 0..1, of the three channels at full input.
[[nodiscard]] double melanopicReduction(const Rgb& white);

}  // namespace dravo
