#include <vector>

#include "base/shortest_text.h"
#include "cli/arguments.h"
#include "cli/command_context.h"
#include "cli/commands.h"
#include "cli/text.h"

namespace dravo::cli {

namespace {

using Rows = std::vector<std::vector<std::string>>;

std::string indented(Rows rows) {
    for (auto& row : rows) row.front().insert(0, "  ");
    return inColumns(rows);
}

std::string helpText(const Option& option) {
    const std::string help = localized(option.help);
    if (option.kind != Option::Kind::Number) return help;
    return filled(localized("cli.range", "%1$@ (%2$@ to %3$@)"),
                  {help, shortestText(option.least), shortestText(option.most)});
}

/// "Usage: " and the ways to call it, one below the other.
std::string usageText(const std::vector<std::string>& calls) {
    const std::string heading = localized("Usage:");
    std::string result;
    for (const std::string& call : calls)
        result += padded(result.empty() ? heading : "", columnsOf(heading)) + " " + call + "\n";
    return result;
}

ExitCode runHelp(const Call& call) {
    const auto& operands = call.arguments.operands();
    const Command* const command = operands.empty() ? nullptr : findCommand(operands[0]);
    if (!operands.empty() && !command) return misused(call, unknownCommand(operands[0]));
    call.context.out.write(command ? commandHelp(*command) : programHelp());
    return ExitCode::Ok;
}

}  // namespace

std::string programHelp() {
    std::string result =
        localized("Dravo tints and dims the whole screen.") + "\n\n" +
        usageText({"dravo [--headless | --autostart]", "dravo COMMAND [ARGUMENTS]"}) + "\n" +
        localized("Without a command it filters every display until it is ended.") + "\n\n" + localized("Options:") +
        "\n" +
        indented({{"--autostart", localized("The same, and stay in the background: for a start at login")},
                  {"--headless", localized("Filter in the foreground, without any window")},
                  {"-h, --help", localized("Show this help")},
                  {"-V, --version", localized("Show the version")}}) +
        "\n" + localized("Commands:") + "\n";
    Rows rows;
    for (const Command* const command : commands()) rows.push_back({command->name, localized(command->summary)});
    result += indented(rows) + "\n" + localized("Exit codes:") + "\n" +
              indented({{"0", localized("done")},
                        {"1", localized("a file, or the output, could not be read or written")},
                        {"2", localized("wrong usage; nothing was done")},
                        {"3", localized("no display server, or it went away")},
                        {"4", localized("the display server, or the running Dravo, refused")},
                        {"5", localized("no running Dravo to ask")}});
    return result + "\n" + localized("'dravo COMMAND --help' says more about a command.") + "\n";
}

std::string commandHelp(const Command& command) {
    constexpr std::size_t kWidth = 100;
    const std::string call = "dravo " + std::string(command.name);
    std::vector<std::string> calls;
    for (const char* const usage : command.usages) calls.push_back(call + " " + usage);
    if (calls.empty()) {
        calls.push_back(call);
        for (const Option& option : command.options) calls.back() += " [--" + std::string(option.name) + "]";
    }
    std::string result = usageText(calls) + "\n" +
                         wrapped(filled(localized("cli.sentence", "%@."), {localized(command.summary)}), kWidth) + "\n";
    if (!command.description.english.empty()) result += "\n" + wrapped(localized(command.description), kWidth) + "\n";
    Rows rows;
    for (const Option& option : command.options) {
        rows.push_back(
            {std::string("--") + option.name + (*option.valueName ? " " : "") + option.valueName, helpText(option)});
    }
    rows.push_back({"-h, --help", localized("Show this help")});
    return result + "\n" + localized("Options:") + "\n" + indented(rows);
}

const Command kHelpCommand{
    .name = "help",
    .summary = textKey("Show this help, or a command's"),
    .usages = {"[COMMAND]"},
    .mostOperands = 1,
    .run = runHelp,
};

}  // namespace dravo::cli
