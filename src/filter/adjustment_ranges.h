#pragma once

#include <algorithm>

namespace dravo {

/// What a slider covers; both ends are included.
struct AdjustmentRange {
    double lowest = 0;
    double highest = 1;

    /// False for NaN.
    [[nodiscard]] constexpr bool contains(double value) const { return value >= lowest && value <= highest; }
    /// The nearest value that a slider can show. REQUIRES: not NaN.
    [[nodiscard]] constexpr double nearest(double value) const { return std::clamp(value, lowest, highest); }
};

inline constexpr AdjustmentRange kFactorRange{0, 1};
inline constexpr AdjustmentRange kIntensityRange{0, 1};
inline constexpr AdjustmentRange kDimmingRange{0, 0.8};  ///< Short of 1: the screen never goes black by a slider.
inline constexpr AdjustmentRange kBlackPointRange{0, 0.2};
inline constexpr AdjustmentRange kContrastRange{-0.5, 0.5};
inline constexpr AdjustmentRange kGammaRange{0.5, 2};
inline constexpr AdjustmentRange kColorTemperatureRange{2700, 6500};  ///< Kelvin.
inline constexpr AdjustmentRange kChannelIntensityRange{0, 1};

}  // namespace dravo
