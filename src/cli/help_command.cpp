#include "cli/arguments.h"
#include "cli/command_line.h"
#include "cli/commands.h"
#include "cli/help.h"

namespace dravo::cli {

namespace {

ExitCode runHelp(const Arguments& arguments, CommandContext& context) {
    if (arguments.operands().empty()) {
        context.out.write(programHelp());
        return ExitCode::Ok;
    }
    const Command* const command = findCommand(arguments.operands()[0]);
    if (!command) return misused(context, kHelpCommand, unknownCommand(arguments.operands()[0]));
    context.out.write(commandHelp(*command));
    return ExitCode::Ok;
}

constexpr const char* kHelpUsages[] = {"[COMMAND]"};

}  // namespace

const Command kHelpCommand{
    .name = "help",
    .summary = textKey("Show this help, or a command's"),
    .usages = kHelpUsages,
    .mostOperands = 1,
    .run = runHelp,
};

}  // namespace dravo::cli
