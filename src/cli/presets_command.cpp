#include <algorithm>
#include <string>

#include "cli/arguments.h"
#include "cli/command_line.h"
#include "cli/commands.h"
#include "cli/preset_lookup.h"
#include "cli/text.h"
#include "filter/preset_json.h"

namespace dravo::cli {

namespace {

std::string presetListing(const std::vector<FilterPreset>& presets) {
    std::size_t idWidth = 0;
    std::size_t nameWidth = 0;
    for (const FilterPreset& preset : presets) {
        idWidth = std::max(idWidth, columnsOf(preset.id));
        nameWidth = std::max(nameWidth, columnsOf(preset.localizedName()));
    }
    std::string result;
    for (const FilterPreset& preset : presets) {
        result += padded(preset.id, idWidth + 2) + padded(preset.localizedName(), nameWidth + 2);
        if (preset.isGrayscale) {
            result += localized("presets.grayscale", "grayscale");
        } else {
            result += filled(localized("presets.factors", "red %1$@  green %2$@  blue %3$@  intensity %4$@"),
                             {fixed(preset.redFactor, 2), fixed(preset.greenFactor, 2), fixed(preset.blueFactor, 2),
                              percentText(preset.intensity * 100)});
        }
        result += "\n";
    }
    return result;
}

ExitCode runPresets(const Arguments& arguments, CommandContext& context) {
    const auto [presets, code] = allPresets(kPresetsCommand, context);
    if (!arguments.has("json")) {
        context.out.write(presetListing(presets));
        return code;
    }
    const auto json = encodePresets(presets);
    if (!json) return fail(context, kPresetsCommand, ExitCode::FileTrouble, json.error().message);
    context.out.write(*json + "\n");
    return code;
}

constexpr const char* kPresetsUsages[] = {"[--json]"};
constexpr Option kPresetsOptions[] = {kJsonOption};

}  // namespace

const Command kPresetsCommand{
    .name = "presets",
    .summary = textKey("List the presets, the built-in ones and your own"),
    .usages = kPresetsUsages,
    .options = kPresetsOptions,
    .run = runPresets,
};

}  // namespace dravo::cli
