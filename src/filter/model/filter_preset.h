#pragma once

#include <string>

namespace dravo {

/// The named recipe from which the whole-screen filter is computed.
struct FilterPreset {
    std::string id{};
    std::string name{};
    double redFactor = 1;
    double greenFactor = 1;
    double blueFactor = 1;
    double intensity = 0;
    double dimming = 0;
    double blackPoint = 0;
    double gamma = 1;
    double contrast = 0;
    double colorTemperature = 6500;
    double redIntensity = 1;
    double greenIntensity = 1;
    double blueIntensity = 1;
    bool isBuiltIn = false;
    bool isGrayscale = false;

    bool operator==(const FilterPreset&) const = default;
};

}  // namespace dravo
