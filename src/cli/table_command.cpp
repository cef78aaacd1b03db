#include <algorithm>
#include <array>
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
    .summary = textKey("Show the transfer table of a preset"),
    .usages = kTableUsages,
    .description =
        textKey("PRESET is an id that 'dravo presets' lists, or the path of a file with one preset. What no option "
                "adjusts is as the preset has it. Every 15th of the 256 levels is shown; --json gives all."),
    .options = kTableOptions,
    .leastOperands = 1,
    .mostOperands = 1,
    .run = runTable,
};

}  // namespace dravo::cli
