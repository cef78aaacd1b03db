#include "filter/preset_exchange.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <string>
#include <utility>

#include "base/localized.h"
#include "base/shortest_text.h"
#include "filter/adjustment_ranges.h"
#include "filter/preset_json.h"

namespace dravo {

namespace {

struct RangedField {
    std::string_view key;
    double FilterPreset::*member;
    AdjustmentRange range;
};

constexpr std::array<RangedField, 12> kRangedFields{{
    {"redFactor", &FilterPreset::redFactor, kFactorRange},
    {"greenFactor", &FilterPreset::greenFactor, kFactorRange},
    {"blueFactor", &FilterPreset::blueFactor, kFactorRange},
    {"intensity", &FilterPreset::intensity, kIntensityRange},
    {"dimming", &FilterPreset::dimming, kDimmingRange},
    {"blackPoint", &FilterPreset::blackPoint, kBlackPointRange},
    {"gamma", &FilterPreset::gamma, kGammaRange},
    {"contrast", &FilterPreset::contrast, kContrastRange},
    {"colorTemperature", &FilterPreset::colorTemperature, kColorTemperatureRange},
    {"redIntensity", &FilterPreset::redIntensity, kChannelIntensityRange},
    {"greenIntensity", &FilterPreset::greenIntensity, kChannelIntensityRange},
    {"blueIntensity", &FilterPreset::blueIntensity, kChannelIntensityRange},
}};

Result<std::vector<FilterPreset>> decodeOneOrMany(std::string_view text) {
    const std::size_t start = text.find_first_not_of(" \t\r\n");
    if (start == text.npos || text[start] != '{') return decodePresets(text);
    auto preset = decodePreset(text);
    if (!preset) return preset.error();
    return std::vector<FilterPreset>{std::move(*preset)};
}

Result<void> checkForImport(const FilterPreset& preset, std::size_t index) {
    const auto refused = [&](const Sentence& what) {
        return Error{ErrorCode::InvalidInput,
                     withDetail(Sentence(textKey("preset %@"), {std::to_string(index + 1)}), what)};
    };
    if (preset.id.empty()) return refused(textKey("\"id\" is empty"));
    if (findPreset(preset.id, {}))
        return refused(Sentence(textKey("\"id\" is that of the built-in preset %@"), {preset.id}));
    for (const auto& field : kRangedFields) {
        const double value = preset.*field.member;
        if (!field.range.contains(value)) {
            return refused(Sentence(
                textKey("\"%1$@\" is %2$@, it must be from %3$@ to %4$@"),
                {field.key, shortestText(value), shortestText(field.range.lowest), shortestText(field.range.highest)}));
        }
    }
    return {};
}

}  // namespace

Result<std::vector<FilterPreset>> importPresets(std::string_view text) {
    auto presets = decodeOneOrMany(text);
    if (!presets) return presets;
    for (std::size_t i = 0; i < presets->size(); ++i) {
        auto& preset = (*presets)[i];
        if (auto checked = checkForImport(preset, i); !checked) return checked.error();
        preset.isBuiltIn = false;
    }
    return presets;
}

std::vector<FilterPreset> mergePresets(std::vector<FilterPreset> own, std::span<const FilterPreset> incoming) {
    for (const auto& preset : incoming) {
        const auto same = std::ranges::find(own, preset.id, &FilterPreset::id);
        if (same == own.end()) {
            own.push_back(preset);
        } else {
            *same = preset;
        }
    }
    return own;
}

}  // namespace dravo
