#include <algorithm>
#include <cmath>
#include <utility>

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

std::string whiteText(const HeldDisplay& row) {
    const auto white = row.white();
    if (!white) return localized(row.description.problem);
    const std::string levels = fixed(white->red, 3) + " " + fixed(white->green, 3) + " " + fixed(white->blue, 3);
    return filled(localized("white %1$@ (%2$@)"), {hexColour(*white), levels});
}

std::string listing(const DisplayList& list) {
    const auto& [backend, displays] = list;
    if (displays.empty()) return backend + "  " + localized("no display is on") + "\n";
    std::vector<std::vector<std::string>> lines;
    for (const HeldDisplay& row : displays) {
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

std::string listJson(const DisplayList& list, bool lacksGrayscale) {
    std::string rows;
    for (const HeldDisplay& row : list.displays)
        rows += (rows.empty() ? "" : ",") + displayJson(controlled(row.description), whiteJson(row.white()));
    return R"({"backend":")" + list.backend + R"(","displays":[)" + rows + R"(],"lacksGrayscale":)" +
           (lacksGrayscale ? "true}\n" : "false}\n");
}

/// What the running Dravo cannot show on any display. One that hangs has cost the person a wait, and is told of.
bool lacksGrayscale(const Call& call) {
    if (!call.context.runningInstance().isThere()) return false;
    const auto state = call.context.control().state();
    if (!state && state.error().code == ErrorCode::Busy)
        call.context.err.write(saidBy("dravo displays", printable(localized(state.error().message))));
    return state && state->lacksGrayscale;
}

DisplayListOutcome askForDisplays(const Call& call) {
    const auto answer = call.context.control().ask(request::ListDisplays{});
    if (answer) return {DisplayList{answer->backend, answer->displays}};
    if (answer.error().code == ErrorCode::NotFound && !call.context.runningInstance().isThere()) {
        return {{},
                fail(call, ExitCode::Refused,
                     textKey("a look at the displays would take them from the program that has them; a running "
                             "Dravo could tell what they hold"))};
    }
    return {{}, failToAsk(call, answer.error())};
}

ExitCode runDisplays(const Call& call) {
    const auto [list, code] = listDisplays(call);
    if (!list) return code;
    const bool isGrayMissing = lacksGrayscale(call);
    if (call.arguments.has("json")) {
        call.context.out.write(listJson(*list, isGrayMissing));
        return ExitCode::Ok;
    }
    call.context.out.write(listing(*list));
    if (isGrayMissing) call.context.out.write(localized(kNoGrayscale) + "\n");
    return ExitCode::Ok;
}

}  // namespace

DisplayListOutcome listDisplays(const Call& call) {
    if (call.context.wouldTakeDisplays()) return askForDisplays(call);
    const auto server = call.context.displays();
    if (!server) return {{}, failForDisplays(call, server.error())};
    auto held = heldDisplays(**server);
    if (!held) return {{}, failForDisplays(call, held.error())};
    return {DisplayList{(*server)->backend(), std::move(*held)}};
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
