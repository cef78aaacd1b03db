#include "cli/running_control.h"

namespace dravo::cli {

ExitCode failToControl(CommandContext& context, const Command& command, const Error& error) {
    return fail(context, command, error.code == ErrorCode::NotFound ? ExitCode::NoInstance : ExitCode::Refused,
                error.message);
}

ExitCode showState(const Command& command, const Arguments& arguments, CommandContext& context, StateText asText,
                   StateText asJson) {
    const auto state = context.control().state();
    if (!state) return failToControl(context, command, state.error());
    context.out.write((arguments.has("json") ? asJson(*state) : asText(*state)) + "\n");
    return ExitCode::Ok;
}

ExitCode finishControl(const Command& command, const Arguments& arguments, CommandContext& context,
                       const Result<void>& outcome) {
    if (!outcome) return failToControl(context, command, outcome.error());
    return arguments.has("json") ? showState(command, arguments, context, controlStateJson) : ExitCode::Ok;
}

}  // namespace dravo::cli
