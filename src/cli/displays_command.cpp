#include <algorithm>
#include <array>
#include <cmath>
#include <string>

#include "cli/arguments.h"
#include "cli/command_line.h"
#include "cli/commands.h"
#include "cli/display_list.h"
#include "cli/display_list_json.h"
#include "cli/text.h"

namespace dravo::cli {

namespace {

std::string hexColour(const Rgb& colour) {
    constexpr std::string_view kDigits = "0123456789abcdef";
    std::string result = "#";
    for (const double level : {colour.red, colour.green, colour.blue}) {
        const auto byte = static_cast<std::size_t>(std::lround(std::clamp(level, 0.0, 1.0) * 255));
        result += kDigits[byte / 16];
        result += kDigits[byte % 16];
    }
    return result;
}

std::string whiteText(const DisplayRow& row) {
    if (!row.white) return localized(row.description.problem);
    const std::string levels =
        fixed(row.white->red, 3) + " " + fixed(row.white->green, 3) + " " + fixed(row.white->blue, 3);
    return filled(localized("white %1$@ (%2$@)"), {hexColour(*row.white), levels});
}

std::string displaysListing(const DisplayList& list) {
    std::vector<std::array<std::string, 5>> lines;
    std::array<std::size_t, 5> widths{};
    for (const DisplayRow& row : list.rows) {
        const auto& line = lines.emplace_back(std::array<std::string, 5>{
            list.backend, row.description.name, "ID " + std::to_string(static_cast<std::uint32_t>(row.description.id)),
            entriesText(row.description.tableSize), stateText(row)});
        for (std::size_t i = 0; i < line.size(); ++i) widths[i] = std::max(widths[i], columnsOf(line[i]));
    }
    std::string result;
    for (std::size_t k = 0; k < lines.size(); ++k) {
        for (std::size_t i = 0; i < widths.size(); ++i) result += padded(lines[k][i], widths[i] + 2);
        result += whiteText(list.rows[k]) + "\n";
    }
    return result.empty() ? list.backend + "  " + localized("no display is on") + "\n" : result;
}

ExitCode runDisplays(const Arguments& arguments, CommandContext& context) {
    const auto server = context.displays();
    if (!server) return failForDisplays(context, kDisplaysCommand, server.error());
    const auto list = listDisplays(**server);
    if (!list) return failForDisplays(context, kDisplaysCommand, list.error());
    context.out.write(arguments.has("json") ? displayListJson(*list) + "\n" : displaysListing(*list));
    return ExitCode::Ok;
}

constexpr const char* kDisplaysUsages[] = {"[--json]"};
constexpr Option kDisplaysOptions[] = {kJsonOption};

}  // namespace

const Command kDisplaysCommand{
    .name = "displays",
    .summary = textKey("List the displays and what they hold now"),
    .usages = kDisplaysUsages,
    .description = textKey("A line for each display: the kind of display server, the display's name, ID and table "
                           "size, whether it can be filtered, and the colour that it shows for white."),
    .options = kDisplaysOptions,
    .run = runDisplays,
};

}  // namespace dravo::cli
