#include "melanopic/melanopic_model.h"

#include "base/shortest_text.h"
#include "cli/arguments.h"
#include "cli/command_line.h"
#include "cli/commands.h"
#include "cli/preset_lookup.h"
#include "cli/text.h"

namespace dravo::cli {

namespace {

ExitCode runMelanopic(const Arguments& arguments, CommandContext& context) {
    const auto [choice, code] = choosePreset(kMelanopicCommand, arguments.operands()[0], arguments, context);
    if (!choice) return code;
    const double reduction = melanopicReduction(choice->preset, choice->adjustments);
    context.out.write(arguments.has("json")
                          ? "{\"reduction\":" + shortestText(reduction) + "}\n"
                          : filled(localized("Melanopic light reduced by %@"), {percentText(reduction)}) + "\n");
    return ExitCode::Ok;
}

constexpr const char* kMelanopicUsages[] = {"PRESET [OPTIONS]"};
constexpr Option kMelanopicOptions[] = {kIntensityOption, kDimmingOption, kBlackPointOption, kContrastOption,
                                        kJsonOption};

}  // namespace

const Command kMelanopicCommand{
    .name = "melanopic",
    .summary = textKey("Estimate how much less melanopic light a white screen gives"),
    .usages = kMelanopicUsages,
    .description = textKey("PRESET is an id that 'dravo presets' lists, or the path of a file with one preset. What no "
                           "option adjusts is as the preset has it."),
    .options = kMelanopicOptions,
    .leastOperands = 1,
    .mostOperands = 1,
    .run = runMelanopic,
};

}  // namespace dravo::cli
