#include "cli/running.h"

namespace dravo::cli {

ExitCode failToAsk(const Call& call, const Error& error) {
    return fail(call, error.code == ErrorCode::NotFound ? ExitCode::NoInstance : ExitCode::Refused, error.message);
}

ExitCode showState(const Call& call, StateText asText, StateText asJson) {
    const auto state = call.context.control().state();
    if (!state) return failToAsk(call, state.error());
    call.context.out.write((call.arguments.has("json") ? asJson(*state) : asText(*state)) + "\n");
    return ExitCode::Ok;
}

ExitCode finish(const Call& call, const Result<ControlAnswer>& answer) {
    if (!answer) return failToAsk(call, answer.error());
    return call.arguments.has("json") ? showState(call, controlStateJson) : ExitCode::Ok;
}

ExitCode askRunning(const Call& call, const ControlRequest& request, const std::optional<ControlRequest>& first) {
    const auto answer = call.context.control().ask(request);
    const bool isNobodyThere =
        !answer && answer.error().code == ErrorCode::NotFound && !call.context.runningInstance().isThere();
    if (first && call.arguments.has("start") && isNobodyThere) return call.context.start(*first);
    return finish(call, answer);
}

}  // namespace dravo::cli
