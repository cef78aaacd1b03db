#include "cli/command_line.h"

#include <string>
#include <vector>

#include "cli/arguments.h"
#include "cli/commands.h"
#include "cli/text.h"

namespace dravo::cli {

namespace {

ExitCode failPlainly(CommandContext& context, ExitCode code, const Sentence& message) {
    context.err.write(saidBy("dravo", message));
    return code;
}

ExitCode misusedPlainly(CommandContext& context, const Sentence& message) {
    return failPlainly(context, ExitCode::WrongUsage, withHint(message, "dravo --help"));
}

ExitCode runCommand(const Command& command, int count, char** words, CommandContext& context) {
    const auto parsed = Arguments::parse(command, count, words);
    const Arguments arguments = parsed ? *parsed : Arguments{};
    const Call call{command, arguments, context};
    if (!parsed) return misused(call, parsed.error().message);
    if (!arguments.wantsHelp()) return command.run(call);
    context.out.write(commandHelp(command));
    return ExitCode::Ok;
}

ExitCode dispatch(int argc, char** argv, CommandContext& context) {
    const std::string_view first = argv[1];
    const bool isHelp = first == "--help" || first == "-h";
    const bool isVersion = first == "--version" || first == "-V";
    if ((isHelp || isVersion || first == "--headless" || first == "--autostart") && argc > 2) {
        return misusedPlainly(context, Sentence(textKey("nothing may follow %@"), {quoted(first)}));
    }
    if (isHelp) {
        context.out.write(programHelp());
        return ExitCode::Ok;
    }
    if (isVersion) {
        context.out.write("dravo " DRAVO_VERSION "\n");
        return ExitCode::Ok;
    }
    if (first == "--complete") {
        const std::vector<const char*> words(argv + 2, argv + argc);
        context.out.write(completions(words, context));
        return ExitCode::Ok;
    }
    if (first.starts_with('-')) return misusedPlainly(context, Sentence(textKey("unknown option %@"), {quoted(first)}));
    const Command* const command = findCommand(first);
    if (!command) return misusedPlainly(context, unknownCommand(first));
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

ExitCode fail(const Call& call, ExitCode code, const Sentence& message) {
    call.context.err.write(saidBy("dravo " + std::string(call.command.name), printable(localized(message))));
    return code;
}

ExitCode misused(const Call& call, const Sentence& message) {
    return fail(call, ExitCode::WrongUsage, withHint(message, "dravo " + std::string(call.command.name) + " --help"));
}

}  // namespace dravo::cli
