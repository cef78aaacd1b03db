#include "app/display_problems.h"

#include "base/localized.h"

namespace dravo {

std::vector<std::string> displayProblems(Displays& displays) {
    std::vector<std::string> lines;
    const auto descriptions = displays.list();
    if (!descriptions) return lines;
    for (const auto& display : *descriptions)
        if (!display.problem.empty()) lines.push_back(localized(withDetail(display.name, display.problem)));
    return lines;
}

std::optional<std::string> grayscaleProblem(const FilterPreset& preset, const GrayscaleSwitch& grayscale) {
    if (!preset.isGrayscale || !grayscale.isUnsupported()) return std::nullopt;
    return localized(kNoGrayscale);
}

}  // namespace dravo
