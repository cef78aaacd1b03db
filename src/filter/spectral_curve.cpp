#include "filter/spectral_curve.h"

#include <cstddef>

namespace dravo {

double curveValue(std::span<const SpectralPoint> curve, double wavelength) {
    if (wavelength < curve.front().wavelength) return curve.front().value;
    for (std::size_t i = 0; i + 1 < curve.size(); ++i) {
        const auto& low = curve[i];
        const auto& high = curve[i + 1];
        if (wavelength <= high.wavelength) {
            const double part = (wavelength - low.wavelength) / (high.wavelength - low.wavelength);
            return low.value + part * (high.value - low.value);
        }
    }
    return curve.back().value;
}

}  // namespace dravo
