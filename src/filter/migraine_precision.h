#pragma once

#include <map>
#include <string_view>

#include "filter/rgb.h"

namespace dravo {

/// One primary of a display as a bell-shaped emission, for the derivation below only.
struct DisplayPrimary {
    double peak = 0;   ///< nm
    double sigma = 0;  ///< nm
};

/// The primaries "red", "green" and "blue" of an ordinary display.
[[nodiscard]] const std::map<std::string_view, DisplayPrimary>& displayPrimaries();

/// What the designed filter of Migraine Precision lets through at `wavelength` (nm): a deep notch at 480 nm, a green
/// band round 540 nm, a dip near 600 nm and a red band round 660 nm.
[[nodiscard]] double migrainePrecisionTransmission(double wavelength);

/// The mean transmission of that filter, 0..1, as a primary of this peak and width (nm) meets it.
[[nodiscard]] double primaryTransmission(double peak, double sigma);

/// The channel factors of Migraine Precision: `primaryTransmission` of the three primaries. Computed on each call.
[[nodiscard]] Rgb migrainePrecisionFactors();

}  // namespace dravo
