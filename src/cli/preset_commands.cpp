#include <array>

#include "base/shortest_text.h"
#include "cli/commands.h"
#include "cli/preset_lookup.h"
#include "cli/text.h"
#include "display/table_json.h"
#include "filter/preset_json.h"
#include "melanopic/melanopic_model.h"

namespace dravo::cli {

namespace {

std::string presetListing(const std::vector<FilterPreset>& presets) {
    std::vector<std::vector<std::string>> lines;
    for (const FilterPreset& preset : presets) {
        const std::string form = localized("presets.factors", "red %1$@  green %2$@  blue %3$@  intensity %4$@");
        lines.push_back({printable(preset.id), printable(preset.localizedName()),
                         preset.isGrayscale
                             ? localized("presets.grayscale", "grayscale")
                             : filled(form, {fixed(preset.redFactor, 2), fixed(preset.greenFactor, 2),
                                             fixed(preset.blueFactor, 2), percentText(preset.intensity * 100)})});
    }
    return inColumns(lines);
}

ExitCode runPresets(const Call& call) {
    const auto [presets, code] = allPresets(call);
    if (!call.arguments.has("json")) {
        call.context.out.write(presetListing(presets));
        return code;
    }
    const auto json = encodePresets(presets);
    if (!json) return fail(call, ExitCode::FileTrouble, json.error().message);
    call.context.out.write(*json + "\n");
    return code;
}

std::string tableListing(const GammaTable& table) {
    constexpr std::size_t kStep = 15;  // every so many levels a line, which ends exactly at the last
    constexpr int kDecimals = 4;
    const std::array<std::string, 4> headings{localized("table.level", "level"), localized("table.red", "red"),
                                              localized("table.green", "green"), localized("table.blue", "blue")};
    constexpr std::array<std::size_t, 4> kLeastWidths{5, 8, 8, 8};
    std::array<std::size_t, 4> widths{};
    std::string result;
    for (std::size_t i = 0; i < headings.size(); ++i) {
        widths[i] = std::max(kLeastWidths[i], columnsOf(headings[i]) + (i > 0 ? 2 : 0));
        result += paddedInFront(headings[i], widths[i]);
    }
    result += "\n";
    for (std::size_t i = 0; i < table.size(); i += kStep) {
        result += paddedInFront(std::to_string(i), widths[0]);
        const std::array<float, 3> outputs{table.red[i], table.green[i], table.blue[i]};
        for (std::size_t channel = 0; channel < outputs.size(); ++channel)
            result += paddedInFront(fixed(static_cast<double>(outputs[channel]), kDecimals), widths[channel + 1]);
        result += "\n";
    }
    return result;
}

ExitCode runTable(const Call& call) {
    const auto [choice, code] = choosePreset(call, call.arguments.operands()[0]);
    if (!choice) return code;
    const GammaTable table = tableOf(*choice);
    call.context.out.write(call.arguments.has("json") ? encodeTable(table) + "\n" : tableListing(table));
    return ExitCode::Ok;
}

ExitCode runMelanopic(const Call& call) {
    const auto [choice, code] = choosePreset(call, call.arguments.operands()[0]);
    if (!choice) return code;
    const double reduction = melanopicReduction(choice->preset, choice->adjustments);
    call.context.out.write(call.arguments.has("json")
                               ? "{\"reduction\":" + shortestText(reduction) + "}\n"
                               : filled(localized("Melanopic light reduced by %@"), {percentText(reduction)}) + "\n");
    return ExitCode::Ok;
}

}  // namespace

const Command kPresetsCommand{
    .name = "presets",
    .summary = textKey("List the presets, the built-in ones and your own"),
    .options = {kJsonOption},
    .run = runPresets,
};

const Command kTableCommand{
    .name = "table",
    .summary = textKey("Show the transfer table of a preset"),
    .usages = {"PRESET [OPTIONS]"},
    .description =
        textKey("PRESET is an id that 'dravo presets' lists, or the path of a file with one preset. What no option "
                "adjusts is as the preset has it. Every 15th of the 256 levels is shown; --json gives all."),
    .options = {kIntensityOption, kDimmingOption, kBlackPointOption, kContrastOption, kJsonOption},
    .leastOperands = 1,
    .mostOperands = 1,
    .run = runTable,
};

const Command kMelanopicCommand{
    .name = "melanopic",
    .summary = textKey("Estimate how much less melanopic light a white screen gives"),
    .usages = {"PRESET [OPTIONS]"},
    .description = textKey("PRESET is an id that 'dravo presets' lists, or the path of a file with one preset. What no "
                           "option adjusts is as the preset has it."),
    .options = {kIntensityOption, kDimmingOption, kBlackPointOption, kContrastOption, kJsonOption},
    .leastOperands = 1,
    .mostOperands = 1,
    .run = runMelanopic,
};

}  // namespace dravo::cli
