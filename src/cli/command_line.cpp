#include "cli/command_line.h"

#include <string>

#include "cli/arguments.h"
#include "cli/commands.h"
#include "cli/help.h"
#include "cli/text.h"

namespace dravo::cli {

namespace {

ExitCode failPlainly(CommandContext& context, ExitCode code, std::string_view message) {
    context.err.write("dravo: " + std::string(message) + "\n");
    return code;
}

ExitCode runCommand(const Command& command, int count, char** words, CommandContext& context) {
    const auto arguments = Arguments::parse(command, count, words);
    if (!arguments) return misused(context, command, arguments.error().message);
    if (arguments->wantsHelp()) {
        context.out.write(commandHelp(command));
        return ExitCode::Ok;
    }
    return command.run(*arguments, context);
}

ExitCode dispatch(int argc, char** argv, CommandContext& context) {
    const std::string_view first = argv[1];
    const bool isHelp = first == "--help" || first == "-h";
    const bool isVersion = first == "--version" || first == "-V";
    if ((isHelp || isVersion || first == "--headless" || first == "--autostart") && argc > 2) {
        return failPlainly(context, ExitCode::WrongUsage,
                           withHint(filled(localized("nothing may follow %@"), {quoted(first)}), "dravo --help"));
    }
    if (isHelp) {
        context.out.write(programHelp());
        return ExitCode::Ok;
    }
    if (isVersion) {
        context.out.write("dravo " DRAVO_VERSION "\n");
        return ExitCode::Ok;
    }
    if (first.starts_with('-')) {
        return failPlainly(context, ExitCode::WrongUsage,
                           withHint(filled(localized("unknown option %@"), {quoted(first)}), "dravo --help"));
    }
    const Command* const command = findCommand(first);
    if (!command) return failPlainly(context, ExitCode::WrongUsage, withHint(unknownCommand(first), "dravo --help"));
    return runCommand(*command, argc - 2, argv + 2, context);
}

}  // namespace

std::optional<RunKind> asksToFilter(int argc, char** argv) {
    if (argc < 2) return RunKind::byPerson;
    const std::string_view first = argc == 2 ? argv[1] : "";
    if (first == "--autostart") return RunKind::atLogin;
    if (first == "--headless") return RunKind::headless;
    return std::nullopt;
}

ExitCode runCommandLine(int argc, char** argv, CommandContext& context) {
    ExitCode code = dispatch(argc, argv, context);
    if (const auto flushed = context.out.flush(); !flushed && code == ExitCode::Ok) {
        code = failPlainly(context, ExitCode::FileTrouble, flushed.error().message);
    }
    static_cast<void>(context.err.flush());
    return code;
}

ExitCode fail(CommandContext& context, const Command& command, ExitCode code, std::string_view message) {
    context.err.write("dravo " + std::string(command.name) + ": " + std::string(message) + "\n");
    return code;
}

ExitCode misused(CommandContext& context, const Command& command, std::string_view message) {
    return fail(context, command, ExitCode::WrongUsage,
                withHint(message, "dravo " + std::string(command.name) + " --help"));
}

}  // namespace dravo::cli
