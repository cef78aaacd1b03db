#include <algorithm>
#include <cmath>

#include "app/control_state.h"
#include "app/display_problems.h"
#include "base/shortest_text.h"
#include "cli/commands.h"
#include "cli/displays.h"
#include "cli/running.h"
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

std::string listing(const std::string& backend, const std::vector<DisplayRow>& displays) {
    if (displays.empty()) return backend + "  " + localized("no display is on") + "\n";
    std::vector<std::vector<std::string>> lines;
    for (const DisplayRow& row : displays) {
        const auto& display = row.description;
        lines.push_back({backend, display.name, "ID " + std::to_string(static_cast<std::uint32_t>(display.id)),
                         entriesText(display.tableSize),
                         display.problem.empty() ? localized("display.ready", "ready")
                                                 : localized("display.unsupported", "unsupported"),
                         whiteText(row)});
    }
    return inColumns(lines);
}

/// Levels are 32-bit floats, as in the tables, and written as the shortest number for such a float.
std::string whiteJson(const std::optional<Rgb>& white) {
    if (!white) return R"(,"white":null)";
    const auto level = [](double value) { return shortestText(static_cast<float>(value)); };
    return R"(,"white":[)" + level(white->red) + "," + level(white->green) + "," + level(white->blue) + "]";
}

std::string listJson(const std::string& backend, const std::vector<DisplayRow>& displays, bool lacksGrayscale) {
    std::string list;
    for (const DisplayRow& row : displays)
        list += (list.empty() ? "" : ",") + displayJson(controlled(row.description), whiteJson(row.white));
    return R"({"backend":")" + backend + R"(","displays":[)" + list + R"(],"lacksGrayscale":)" +
           (lacksGrayscale ? "true}\n" : "false}\n");
}

/// What the running Dravo cannot show on any display.
bool lacksGrayscale(CommandContext& context) {
    if (!context.runningInstance().isThere()) return false;
    const auto state = context.control().state();
    return state && state->lacksGrayscale;
}

ExitCode runDisplays(const Call& call) {
    const auto server = call.context.displays();
    if (!server) return failForDisplays(call, server.error());
    const auto displays = listDisplays(**server);
    if (!displays) return failForDisplays(call, displays.error());
    const std::string backend = (*server)->backend();
    const bool isGrayMissing = lacksGrayscale(call.context);
    if (call.arguments.has("json")) {
        call.context.out.write(listJson(backend, *displays, isGrayMissing));
        return ExitCode::Ok;
    }
    call.context.out.write(listing(backend, *displays));
    if (isGrayMissing) call.context.out.write(localized(kNoGrayscale) + "\n");
    return ExitCode::Ok;
}

}  // namespace

Result<std::vector<DisplayRow>> listDisplays(Displays& displays) {
    const auto descriptions = displays.list();
    if (!descriptions) return descriptions.error();
    std::vector<DisplayRow> rows;
    std::vector<DisplayId> readable;
    for (const DisplayDescription& description : *descriptions) {
        rows.push_back({description, {}, {}});
        if (description.problem.empty()) readable.push_back(description.id);
    }
    auto tables = displays.held(readable);
    auto table = tables.begin();
    for (DisplayRow& row : rows) {
        if (!row.description.problem.empty() || table == tables.end()) continue;
        const Result<GammaTable>& read = *table++;
        if (!read) {
            if (read.error().code == ErrorCode::Disconnected) return read.error();
            row.description.problem = Sentence{textKey("it cannot be read")};
            continue;
        }
        row.table = *read;
        if (row.table.size() > 0) row.white = Rgb{row.table.red.back(), row.table.green.back(), row.table.blue.back()};
    }
    return rows;
}

std::string entriesText(std::size_t count) {
    return filled(localizedCount("display.entries", "%lld entry", "%lld entries", count), {std::to_string(count)});
}

ExitCode failForDisplays(const Call& call, const Error& error) {
    const bool isRefusal = error.code == ErrorCode::PermissionDenied || error.code == ErrorCode::Busy ||
                           error.code == ErrorCode::Unsupported;
    return fail(call, isRefusal ? ExitCode::Refused : ExitCode::NoDisplayServer, error.message);
}

const Command kDisplaysCommand{
    .name = "displays",
    .summary = textKey("List the displays and what they hold now"),
    .description = textKey("A line for each display: the kind of display server, the display's name, ID and table "
                           "size, whether it can be filtered, and the colour that it shows for white."),
    .options = {kJsonOption},
    .run = runDisplays,
};

}  // namespace dravo::cli
