#include "cli/preset_lookup.h"

#include <algorithm>
#include <string>

#include "base/files.h"
#include "cli/text.h"
#include "filter/preset_json.h"

namespace dravo::cli {

namespace {

/// Room for a preset with a very long name, and no more.
constexpr std::size_t kLargestPresetFile = 1 << 20;

Result<FilterPreset> readPreset(const std::string& path) {
    const auto text = readFile(path, kLargestPresetFile);
    if (!text) return Error{ErrorCode::InvalidInput, text.error().message, text.error().nativeCode};
    auto preset = decodePreset(*text);
    if (!preset) return Error{ErrorCode::InvalidInput, withDetail(path, preset.error().message)};
    return preset;
}

Sentence unknownPreset(std::string_view id, const std::vector<FilterPreset>& presets) {
    std::vector<std::string_view> ids;
    for (const FilterPreset& preset : presets) ids.emplace_back(preset.id);
    if (const std::string_view meant = nearest(id, ids); !meant.empty())
        return withGuess(Sentence(textKey("no preset %@"), {quoted(id)}), meant);
    std::string known;
    for (const std::string_view each : ids) known += (known.empty() ? "" : " ") + std::string(each);
    return Sentence(textKey("no preset %1$@; there are %2$@"), {quoted(id), known});
}

Result<FilterPreset> presetOf(std::string_view operand, CommandContext& context) {
    if (operand.find('/') != std::string_view::npos || operand.ends_with(".json")) {
        return readPreset(std::string(operand));
    }
    // A built-in preset needs no look at the person's file.
    if (const FilterPreset* const found = findPreset(operand, {})) return *found;
    const auto own = context.userPresets();
    if (!own) return own.error();
    if (const FilterPreset* const found = findPreset(operand, *own)) return *found;
    auto presets = FilterPreset::builtIn();
    std::ranges::copy(*own, std::back_inserter(presets));
    return Error{ErrorCode::NotFound, unknownPreset(operand, presets)};
}

}  // namespace

PresetList allPresets(const Call& call) {
    PresetList list{FilterPreset::builtIn(), ExitCode::Ok};
    auto own = call.context.userPresets();
    if (own) {
        std::ranges::move(*own, std::back_inserter(list.presets));
    } else {
        list.code = fail(call, ExitCode::FileTrouble, own.error().message);
    }
    return list;
}

PresetOutcome choosePreset(const Call& call, std::string_view operand) {
    const auto& arguments = call.arguments;
    const auto preset = presetOf(operand, call.context);
    if (!preset) {
        const Sentence& message = preset.error().message;
        if (preset.error().code == ErrorCode::NotFound) return {{}, misused(call, message)};
        return {{}, fail(call, ExitCode::FileTrouble, message)};
    }
    const Adjustments adjustments{
        .intensity = arguments.number("intensity").value_or(preset->intensity),
        .dimming = arguments.number("dimming").value_or(preset->dimming),
        .blackPoint = arguments.number("black-point").value_or(preset->blackPoint),
        .contrast = arguments.number("contrast").value_or(preset->contrast),
    };
    return {PresetChoice{*preset, adjustments}, ExitCode::Ok};
}

GammaTable tableOf(const PresetChoice& choice) {
    const Adjustments& by = choice.adjustments;
    return computeTable(choice.preset, by.intensity, by.dimming, by.blackPoint, by.contrast);
}

}  // namespace dravo::cli
