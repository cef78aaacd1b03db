#include <optional>
#include <string>

#include "base/shortest_text.h"
#include "cli/commands.h"
#include "cli/running_control.h"
#include "cli/status_text.h"
#include "cli/text.h"

namespace dravo::cli {

namespace {

std::string locationJson(const ControlState& state) {
    const auto& location = state.location;
    const auto number = [](const std::optional<double>& degrees) { return degrees ? shortestText(*degrees) : "null"; };
    return R"({"source":")" + std::string(nameOf(location.source)) + R"(","status":")" + location.status +
           R"(","latitude":)" + number(location.latitude) + R"(,"longitude":)" + number(location.longitude) + "}";
}

Result<LocationChange> parseLocation(const std::vector<std::string_view>& operands) {
    if (operands.size() == 1) {
        const auto source = locationSourceNamed(operands[0]);
        if (source && *source != LocationSource::typed) return LocationChange{*source, {}};
        return Error{ErrorCode::InvalidInput,
                     filled(localized("a location is zone, service, or a latitude and a longitude, not %@"),
                            {quoted(operands[0])})};
    }
    const auto latitude = parseNumber(operands[0]);
    const auto longitude = parseNumber(operands[1]);
    if (!latitude || !longitude)
        return Error{ErrorCode::InvalidInput,
                     filled(localized("this is no number of degrees: %@"), {quoted(operands[latitude ? 1 : 0])})};
    const LocationChange change{LocationSource::typed, Position{*latitude, *longitude}};
    if (auto refused = validate(change); !refused) return refused.error();
    return change;
}

ExitCode runLocation(const Arguments& arguments, CommandContext& context) {
    if (!arguments.operands().empty()) {
        const auto change = parseLocation(arguments.operands());
        if (!change) return misused(context, kLocationCommand, change.error().message);
        const auto outcome = context.control().setLocation(*change);
        if (!outcome) return failToControl(context, kLocationCommand, outcome.error());
        if (!arguments.has("json")) return ExitCode::Ok;
    }
    return showState(kLocationCommand, arguments, context, locationText, locationJson);
}

constexpr const char* kLocationUsages[] = {"[LATITUDE LONGITUDE|zone|service] [--json]"};
constexpr Option kLocationOptions[] = {
    {"json", "", textKey("Print the location as JSON, which 'dravo status' never tells")},
};

}  // namespace

const Command kLocationCommand{
    .name = "location",
    .summary = textKey("Say where you are, for sunset and sunrise, or show it"),
    .usages = kLocationUsages,
    .description =
        textKey("Degrees north and east, negative for south and west; 'zone' takes the time zone's principal place, "
                "which is approximate; 'service' asks the desktop's location service, as in the beginning."),
    .options = kLocationOptions,
    .mostOperands = 2,
    .run = runLocation,
};

}  // namespace dravo::cli
