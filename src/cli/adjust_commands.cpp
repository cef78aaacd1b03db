#include <optional>
#include <string>

#include "cli/commands.h"
#include "cli/running_control.h"
#include "cli/text.h"

namespace dravo::cli {

namespace {

ExitCode runPreset(const Arguments& arguments, CommandContext& context) {
    if (arguments.operands().empty()) {
        return showState(kPresetCommand, arguments, context, [](const ControlState& state) { return state.preset; });
    }
    const auto outcome = context.control().selectPreset(std::string(arguments.operands()[0]));
    if (!outcome && outcome.error().code == ErrorCode::InvalidInput)
        return misused(context, kPresetCommand, outcome.error().message);
    return finishControl(kPresetCommand, arguments, context, outcome);
}

std::optional<double>* adjustmentNamed(AdjustmentChange& change, std::string_view name) {
    if (name == "intensity") return &change.intensity;
    if (name == "dimming") return &change.dimming;
    if (name == "black-point" || name == "blackPoint") return &change.blackPoint;
    if (name == "contrast") return &change.contrast;
    return nullptr;
}

Result<AdjustmentChange> parseAdjustments(const Arguments& arguments) {
    AdjustmentChange change;
    for (const std::string_view word : arguments.operands()) {
        const std::string_view name = word.substr(0, word.find('='));
        if (name.size() == word.size()) {
            return Error{ErrorCode::InvalidInput,
                         filled(localized("adjustments are given as intensity=0.6, not %@"), {quoted(word)})};
        }
        std::optional<double>* const value = adjustmentNamed(change, name);
        if (!value) {
            return Error{
                ErrorCode::InvalidInput,
                filled(
                    localized("nothing to adjust is called %@; there are intensity, dimming, black-point and contrast"),
                    {quoted(name)})};
        }
        *value = parseNumber(word.substr(name.size() + 1));
        if (!*value) return Error{ErrorCode::InvalidInput, filled(localized("this is no number: %@"), {quoted(word)})};
    }
    if (auto refused = validate(change); !refused) return refused.error();
    return change;
}

ExitCode runSet(const Arguments& arguments, CommandContext& context) {
    const auto change = parseAdjustments(arguments);
    if (!change) return misused(context, kSetCommand, change.error().message);
    return finishControl(kSetCommand, arguments, context, context.control().setAdjustments(*change));
}

constexpr const char* kPresetUsages[] = {"[ID] [--json]"};
constexpr const char* kSetUsages[] = {"[intensity=X] [dimming=X] [black-point=X] [contrast=X] [--json]"};
constexpr Option kStateOptions[] = {kStateJsonOption};
constexpr std::size_t kMostAdjustments = 16;

}  // namespace

const Command kPresetCommand{
    .name = "preset",
    .summary = textKey("Select a preset, or show which one is"),
    .usages = kPresetUsages,
    .description = textKey("ID is one that 'dravo presets' lists. Its own adjustments come with it."),
    .options = kStateOptions,
    .mostOperands = 1,
    .run = runPreset,
};

const Command kSetCommand{
    .name = "set",
    .summary = textKey("Adjust the filter"),
    .usages = kSetUsages,
    .description =
        textKey("intensity is the strength of the colour filter, 0 to 1; dimming darkens, 0 to 0.8; black-point lifts "
                "black, 0 to 0.2; contrast is softer below 0, harder above, -0.5 to 0.5. What is not given stays."),
    .options = kStateOptions,
    .leastOperands = 1,
    .mostOperands = kMostAdjustments,
    .run = runSet,
};

}  // namespace dravo::cli
