#include <string>

#include "cli/arguments.h"
#include "cli/command_line.h"
#include "cli/commands.h"
#include "cli/preset_lookup.h"
#include "cli/text.h"
#include "display/table_json.h"

namespace dravo::cli {

namespace {

/// Every so many levels a line, which ends exactly at the last.
constexpr std::size_t kStep = 15;

std::string tableListing(const GammaTable& table) {
    constexpr int kDecimals = 4;
    std::string result = "level     red   green    blue\n";
    for (std::size_t i = 0; i < table.size(); i += kStep) {
        const std::string level = std::to_string(i);
        result += std::string(5 - level.size(), ' ') + level;
        for (const float output : {table.red[i], table.green[i], table.blue[i]}) {
            result += "  " + fixed(static_cast<double>(output), kDecimals);
        }
        result += "\n";
    }
    return result;
}

ExitCode runTable(const Arguments& arguments, CommandContext& context) {
    const auto [choice, code] = choosePreset(kTableCommand, arguments.operands()[0], arguments, context);
    if (!choice) return code;
    const GammaTable table = tableOf(*choice);
    context.out.write(arguments.has("json") ? encodeTable(table) + "\n" : tableListing(table));
    return ExitCode::Ok;
}

constexpr const char* kTableUsages[] = {"PRESET [OPTIONS]"};
constexpr Option kTableOptions[] = {kIntensityOption, kDimmingOption, kBlackPointOption, kContrastOption, kJsonOption};

}  // namespace

const Command kTableCommand{
    .name = "table",
    .summary = "Show the transfer table of a preset",
    .usages = kTableUsages,
    .description =
        "PRESET is an id that 'dravo presets' lists, or the path of a file with one preset. What no option\n"
        "adjusts is as the preset has it. Every 15th of the 256 levels is shown; --json gives all.",
    .options = kTableOptions,
    .leastOperands = 1,
    .mostOperands = 1,
    .run = runTable,
};

}  // namespace dravo::cli
