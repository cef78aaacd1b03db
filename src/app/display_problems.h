#pragma once

#include <optional>
#include <string>
#include <vector>

#include "base/localized.h"
#include "display/displays.h"
#include "display/grayscale_switch.h"
#include "filter/filter_preset.h"

namespace dravo {

/// A line for each display that is on and cannot be filtered: its name and why. Empty when all can, or nobody answers.
[[nodiscard]] std::vector<std::string> displayProblems(Displays& displays);

inline constexpr TextKey kNoGrayscale =
    textKey("problem.grayscale", "This preset needs a grayscale mode, which this desktop does not have.");

/// Why the preset is not shown as it is meant: it wants everything gray, and this desktop cannot. None otherwise.
[[nodiscard]] std::optional<std::string> grayscaleProblem(const FilterPreset& preset, const GrayscaleSwitch& grayscale);

}  // namespace dravo
