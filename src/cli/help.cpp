#include "cli/help.h"

#include <algorithm>
#include <string_view>
#include <utility>
#include <vector>

#include "base/shortest_text.h"
#include "cli/commands.h"
#include "cli/text.h"

namespace dravo::cli {

namespace {

using Rows = std::vector<std::pair<std::string, std::string>>;

std::string twoColumns(const Rows& rows) {
    std::size_t width = 0;
    for (const auto& [left, right] : rows) width = std::max(width, left.size());
    std::string result;
    for (const auto& [left, right] : rows) result += "  " + padded(left, width + 2) + right + "\n";
    return result;
}

std::string helpText(const Option& option) {
    std::string result = option.help;
    if (option.kind == Option::Kind::Number) {
        result += " (" + shortestText(option.least) + " to " + shortestText(option.most) + ")";
    }
    return result;
}

}  // namespace

std::string programHelp() {
    std::string result =
        "Dravo tints and dims the whole screen.\n\n"
        "Usage: dravo [--headless | --autostart]\n"
        "       dravo COMMAND [ARGUMENTS]\n\n"
        "Without a command it filters every display until it is ended.\n\n"
        "Options:\n" +
        twoColumns({{"--autostart", "The same, and stay in the background: for a start at login"},
                    {"--headless", "Filter in the foreground, without any window"},
                    {"-h, --help", "Show this help"},
                    {"-V, --version", "Show the version"}}) +
        "\nCommands:\n";
    Rows rows;
    for (const Command* const command : commands()) rows.emplace_back(command->name, command->summary);
    result += twoColumns(rows);
    result += "\nExit codes:\n" + twoColumns({{"0", "done"},
                                              {"1", "a file, or the output, could not be read or written"},
                                              {"2", "wrong usage; nothing was done"},
                                              {"3", "no display server, or it went away"},
                                              {"4", "the display server, or the running Dravo, refused"},
                                              {"5", "no running Dravo to ask"}});
    return result + "\n'dravo COMMAND --help' says more about a command.\n";
}

std::string commandHelp(const Command& command) {
    std::string result;
    for (const char* const usage : command.usages) {
        result += result.empty() ? "Usage: dravo " : "       dravo ";
        result += std::string(command.name) + (*usage ? " " : "") + usage + "\n";
    }
    result += std::string("\n") + command.summary + ".\n";
    if (*command.description) result += std::string("\n") + command.description + "\n";
    Rows rows;
    for (const Option& option : command.options) {
        rows.emplace_back(std::string("--") + option.name + (*option.valueName ? " " : "") + option.valueName,
                          helpText(option));
    }
    rows.emplace_back("-h, --help", "Show this help");
    return result + "\nOptions:\n" + twoColumns(rows);
}

}  // namespace dravo::cli
