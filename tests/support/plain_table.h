#pragma once

#include <algorithm>
#include <cmath>

#include "display/gamma_table.h"

namespace dravo::testing {

/// The transfer written out as plainly as possible, step by step.
inline double plainOutput(double x, double scale, double tint, const Adjustments& wanted, double gamma) {
    double v = x * scale;
    v = v * tint;
    v = v * (1 - wanted.dimming);
    v = (v - 0.5) * (wanted.contrast + 1) + 0.5;
    v = v * (1 - wanted.blackPoint) + wanted.blackPoint;
    if (std::isnan(v) || v <= 0) v = 0;
    if (v > 1) v = 1;
    const double y = std::pow(v, gamma);
    if (std::isnan(y) || y <= 0) return 0;
    return y > 1 ? 1 : y;
}

inline GammaTable plainTable(const FilterPreset& preset, const Adjustments& wanted) {
    const Rgb colour = kelvinToRGB(preset.colorTemperature);
    const Rgb neutral = kelvinToRGB(6500);
    GammaTable table;
    const auto fill = [&](std::vector<float>& entries, double factor, double weight, double tint) {
        const double scale = 1 - (1 - factor) * (weight * wanted.intensity);
        for (int i = 0; i < 256; ++i)
            entries.push_back(static_cast<float>(plainOutput(i / 255.0, scale, tint, wanted, preset.gamma)));
    };
    fill(table.red, preset.redFactor, preset.redIntensity, std::min(colour.red / neutral.red, 1.0));
    fill(table.green, preset.greenFactor, preset.greenIntensity, std::min(colour.green / neutral.green, 1.0));
    fill(table.blue, preset.blueFactor, preset.blueIntensity, std::min(colour.blue / neutral.blue, 1.0));
    return table;
}

}  // namespace dravo::testing
