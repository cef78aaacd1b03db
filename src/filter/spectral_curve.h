#pragma once

#include <span>

namespace dravo {

/// The visible range over which light is summed: 380, 381, ..., 780 nm.
inline constexpr double kSpectrumFrom = 380;
inline constexpr double kSpectrumThrough = 780;
inline constexpr double kSpectrumStep = 1;

/// A point of a curve over wavelength.
struct SpectralPoint {
    double wavelength = 0;  ///< nm
    double value = 0;
};

/// The curve's value at `wavelength`: linear between its points, outside them the nearer end's.
/// REQUIRES: at least one point, wavelengths ascending.
[[nodiscard]] double curveValue(std::span<const SpectralPoint> curve, double wavelength);

}  // namespace dravo
