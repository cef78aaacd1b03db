#include "cli/commands.h"

#include <algorithm>
#include <array>
#include <string>
#include <utility>

#include "base/shortest_text.h"
#include "cli/running.h"
#include "cli/status_text.h"
#include "cli/text.h"

namespace dravo::cli {

namespace {

using namespace std::chrono_literals;

using Asked = Result<ControlRequest>;

Error notUnderstood(Sentence message) { return {ErrorCode::InvalidInput, std::move(message)}; }

/// A request made of what a person typed, if nobody has to refuse it.
Asked checked(const ControlRequest& request) {
    const auto valid = validate(request);
    return valid ? Asked(request) : valid.error();
}

/// A command that is one request without arguments.
template <typename Request>
ExitCode ask(const Call& call) {
    return askRunning(call, Request{});
}

/// Asks for what was typed, or says what is wrong with it.
ExitCode askFor(const Call& call, const Asked& request) {
    return request ? askRunning(call, *request, *request) : misused(call, request.error().message);
}

/// Prints a line for each change, until the running Dravo or the reader ends.
ExitCode follow(const Call& call, const Calendar& calendar) {
    auto& context = call.context;
    const auto line = [&](const ControlState& state) {
        return call.arguments.has("json") ? controlStateJson(state) : statusLine(state, context.now(), calendar);
    };
    std::string lastSaid;
    const auto outcome = context.control().follow([&](const ControlState& state) {
        ControlState still = state;
        still.breaks.secondsRemaining = 0;
        std::string said = line(still);
        if (std::exchange(lastSaid, std::move(said)) == lastSaid) return true;
        context.out.write(line(state) + "\n");
        return context.out.flush().hasValue();
    });
    return outcome ? ExitCode::Ok : failToAsk(call, outcome.error());
}

ExitCode runStatus(const Call& call) {
    const auto zone = call.context.timeZone(std::nullopt);
    if (!zone) return fail(call, ExitCode::FileTrouble, zone.error().message);
    if (call.arguments.has("follow")) return follow(call, zone->calendar);
    const auto state = call.context.control().state();
    if (!state) return failToAsk(call, state.error());
    call.context.out.write(call.arguments.has("json") ? controlStateJson(*state) + "\n"
                                                      : statusText(*state, call.context.now(), zone->calendar));
    return ExitCode::Ok;
}

/// The filter of a Dravo that does not run is off.
ExitCode runToggle(const Call& call) { return askRunning(call, request::Toggle{}, request::SwitchOn{}); }

/// "1h30m" in seconds; of units, larger ones first, each at most once.
std::optional<std::chrono::seconds> parseDuration(std::string_view text) {
    constexpr struct {
        char letter;
        std::chrono::seconds length;
    } kUnits[] = {{'d', 24h}, {'h', 1h}, {'m', 1min}, {'s', 1s}};
    constexpr std::size_t kMostDigits = 9;
    std::chrono::seconds sum{};
    if (text.empty()) return std::nullopt;
    for (const auto& unit : kUnits) {
        const auto digits = std::min(text.find_first_not_of("0123456789"), text.size());
        if (digits == text.size() || text[digits] != unit.letter) continue;
        if (digits == 0 || digits > kMostDigits) return std::nullopt;
        sum += std::stoi(std::string(text.substr(0, digits))) * unit.length;
        text.remove_prefix(digits + 1);
    }
    return text.empty() ? std::optional(sum) : std::nullopt;
}

Asked parsePause(std::string_view text, CommandContext& context) {
    if (text == "morning") return ControlRequest(request::PauseUntilMorning{});
    if (const auto minutes = parseClock(text)) {
        const auto zone = context.timeZone(std::nullopt);
        if (!zone) return zone.error();
        return ControlRequest(request::PauseUntil{nextTimeOfDay(*minutes, context.now(), zone->calendar)});
    }
    if (const auto span = parseDuration(text)) return checked(request::PauseFor{*span});
    return notUnderstood(
        Sentence(textKey("a pause is given as 15m, 1h, 1h30m, morning or a time HH:MM, not %@"), {quoted(text)}));
}

ExitCode runPause(const Call& call) {
    const auto& operands = call.arguments.operands();
    return askFor(call, parsePause(operands.empty() ? "1h" : operands[0], call.context));
}

ExitCode runPreset(const Call& call) {
    const auto& operands = call.arguments.operands();
    if (operands.empty()) return showState(call, [](const ControlState& state) { return printable(state.preset); });
    const auto answer = call.context.control().ask(request::SelectPreset{std::string(operands[0])});
    if (!answer && answer.error().code == ErrorCode::InvalidInput) return misused(call, answer.error().message);
    return finish(call, answer);
}

Asked parseAdjustments(const std::vector<std::string_view>& words) {
    request::SetAdjustments change;
    const std::pair<std::string_view, std::optional<double>*> known[] = {{"intensity", &change.intensity},
                                                                         {"dimming", &change.dimming},
                                                                         {"black-point", &change.blackPoint},
                                                                         {"blackPoint", &change.blackPoint},
                                                                         {"contrast", &change.contrast}};
    for (const std::string_view word : words) {
        const std::string_view name = word.substr(0, word.find('='));
        if (name.size() == word.size())
            return notUnderstood(Sentence(textKey("adjustments are given as intensity=0.6, not %@"), {quoted(word)}));
        const auto meant = std::ranges::find(known, name, &std::pair<std::string_view, std::optional<double>*>::first);
        if (meant == std::end(known)) {
            return notUnderstood(Sentence(
                textKey("nothing to adjust is called %@; there are intensity, dimming, black-point and contrast"),
                {quoted(name)}));
        }
        *meant->second = parseNumber(word.substr(name.size() + 1));
        if (!*meant->second) return notUnderstood(Sentence(textKey("this is no number: %@"), {quoted(word)}));
    }
    return checked(change);
}

ExitCode runSet(const Call& call) { return askFor(call, parseAdjustments(call.arguments.operands())); }

Asked parseSchedule(std::string_view text) {
    using request::SetSchedule;
    if (text == "off") return ControlRequest(SetSchedule{.enabled = false});
    if (text == "sun") return ControlRequest(SetSchedule{.enabled = true, .mode = ScheduleMode::sunsetToSunrise});
    const std::size_t dash = text.find('-');
    const auto start = parseClock(text.substr(0, dash));
    const auto end = dash == std::string_view::npos ? std::nullopt : parseClock(text.substr(dash + 1));
    if (start && end) return ControlRequest(SetSchedule{true, ScheduleMode::customTimes, *start, *end});
    return notUnderstood(
        Sentence(textKey("a schedule is given as off, sun or two times such as 20:00-07:00, not %@"), {quoted(text)}));
}

ExitCode runSchedule(const Call& call) {
    const auto& operands = call.arguments.operands();
    return operands.empty() ? showState(call, scheduleText) : askFor(call, parseSchedule(operands[0]));
}

std::string locationJson(const ControlState& state) {
    const auto& location = state.location;
    const auto number = [](const std::optional<double>& degrees) { return degrees ? shortestText(*degrees) : "null"; };
    return R"({"source":")" + std::string(nameOf(location.source)) + R"(","status":")" + location.status +
           R"(","latitude":)" + number(location.latitude) + R"(,"longitude":)" + number(location.longitude) + "}";
}

Asked parseLocation(const std::vector<std::string_view>& operands) {
    if (operands.size() == 1) {
        const auto source = locationSourceNamed(operands[0]);
        if (source && *source != LocationSource::typed) return ControlRequest(request::SetLocation{*source, {}});
        return notUnderstood(Sentence(textKey("a location is zone, service, or a latitude and a longitude, not %@"),
                                      {quoted(operands[0])}));
    }
    const auto latitude = parseNumber(operands[0]);
    const auto longitude = parseNumber(operands[1]);
    if (latitude && longitude)
        return checked(request::SetLocation{LocationSource::typed, Position{*latitude, *longitude}});
    return notUnderstood(Sentence(textKey("this is no number of degrees: %@"), {quoted(operands[latitude ? 1 : 0])}));
}

ExitCode runLocation(const Call& call) {
    if (!call.arguments.operands().empty()) {
        const auto request = parseLocation(call.arguments.operands());
        if (!request) return misused(call, request.error().message);
        const auto answer = call.context.control().ask(*request);
        if (!answer) return failToAsk(call, answer.error());
        if (!call.arguments.has("json")) return ExitCode::Ok;
    }
    return showState(call, locationText, locationJson);
}

Asked parseBreaks(std::string_view text) {
    constexpr std::array<int, 6> kIntervals{10, 15, 20, 30, 45, 60};
    using request::SetBreaks;
    if (text == "done") return ControlRequest(request::DismissBreak{});
    if (text == "on") return ControlRequest(SetBreaks{.enabled = true});
    if (text == "off") return ControlRequest(SetBreaks{.enabled = false});
    for (const int minutes : kIntervals)
        if (text == std::to_string(minutes))
            return ControlRequest(SetBreaks{.enabled = true, .intervalMinutes = minutes});
    return notUnderstood(Sentence(
        textKey("a reminder is on, off, or comes every 10, 15, 20, 30, 45 or 60 minutes; not %@"), {quoted(text)}));
}

ExitCode runBreak(const Call& call) {
    const auto& operands = call.arguments.operands();
    return operands.empty() ? showState(call, breaksText) : askFor(call, parseBreaks(operands[0]));
}

ExitCode runQuit(const Call& call) {
    const auto ended = call.context.runningInstance().quit();
    return ended ? ExitCode::Ok : failToAsk(call, ended.error());
}

constexpr std::size_t kMostAdjustments = 16;

constexpr Command kCommands[] = {
    {
        .name = "status",
        .summary = textKey("Show what the running Dravo does"),
        .description = textKey("Times are local; --json gives them in UTC, and minutes of the local day for the "
                               "schedule. What only counts down is no change."),
        .options = {{"follow", "", textKey("Print a line now and one for each change, until Dravo ends")}, kJsonOption},
        .run = runStatus,
    },
    {
        .name = "toggle",
        .summary = textKey("Switch the filter on or off"),
        .description = textKey("Holds until the schedule's next change, as 'on' and 'off' do."),
        .options = {kStartOption, kStateJsonOption},
        .run = runToggle,
    },
    {
        .name = "on",
        .summary = textKey("Switch the filter on"),
        .options = {kStateJsonOption},
        .run = ask<request::SwitchOn>,
    },
    {
        .name = "off",
        .summary = textKey("Switch the filter off"),
        .description = textKey("In a pause it drops the pause, and the filter stays off."),
        .options = {kStateJsonOption},
        .run = ask<request::SwitchOff>,
    },
    {
        .name = "pause",
        .summary = textKey("Switch the filter off for a while"),
        .usages = {"[15m|1h|morning|HH:MM|DURATION] [--start] [--json]"},
        .description = textKey("For an hour, for a DURATION such as 45s, 90m, 1h30m or 2d, until the next HH:MM, or "
                               "until 08:00 in the morning. Refused while the filter is off."),
        .options = {kStartOption, kStateJsonOption},
        .mostOperands = 1,
        .run = runPause,
    },
    {
        .name = "resume",
        .summary = textKey("End a pause"),
        .description = textKey("Without a pause it changes nothing."),
        .options = {kStateJsonOption},
        .run = ask<request::Resume>,
    },
    {
        .name = "preset",
        .summary = textKey("Select a preset, or show which one is"),
        .usages = {"[ID] [--json]"},
        .description = textKey("ID is one that 'dravo presets' lists. Its own adjustments come with it."),
        .options = {kStateJsonOption},
        .mostOperands = 1,
        .run = runPreset,
    },
    {
        .name = "set",
        .summary = textKey("Adjust the filter"),
        .usages = {"[intensity=X] [dimming=X] [black-point=X] [contrast=X] [--json]"},
        .description = textKey(
            "intensity is the strength of the colour filter, 0 to 1; dimming darkens, 0 to 0.8; black-point lifts "
            "black, 0 to 0.2; contrast is softer below 0, harder above, -0.5 to 0.5. What is not given stays."),
        .options = {kStateJsonOption},
        .leastOperands = 1,
        .mostOperands = kMostAdjustments,
        .run = runSet,
    },
    {
        .name = "revert",
        .summary = textKey("Revert to preset values"),
        .options = {kStateJsonOption},
        .run = ask<request::RevertToPreset>,
    },
    {
        .name = "schedule",
        .summary = textKey("Filter at certain hours, or show at which"),
        .usages = {"[off|HH:MM-HH:MM|sun] [--json]"},
        .description = textKey("Every day from the first time to the second, or from sunset to sunrise; 'off' leaves "
                               "it to you. For the sun Dravo has to know where you are: see 'dravo location'."),
        .options = {kStateJsonOption},
        .mostOperands = 1,
        .run = runSchedule,
    },
    {
        .name = "location",
        .summary = textKey("Say where you are, for sunset and sunrise, or show it"),
        .usages = {"[LATITUDE LONGITUDE|zone|service] [--json]"},
        .description = textKey(
            "Degrees north and east, negative for south and west; 'zone' takes the time zone's principal place, "
            "which is approximate; 'service' asks the desktop's location service, as in the beginning."),
        .options = {{"json", "", textKey("Print the location as JSON, which 'dravo status' never tells")}},
        .mostOperands = 2,
        .run = runLocation,
    },
    {
        .name = "break",
        .summary = textKey("Be reminded to rest your eyes, or show when"),
        .usages = {"[on|off|10|15|20|30|45|60|done] [--json]"},
        .description = textKey("A number switches the reminder on with that many minutes between breaks; 'done' ends "
                               "the break that is on."),
        .options = {kStateJsonOption},
        .mostOperands = 1,
        .run = runBreak,
    },
    {
        .name = "panel",
        .summary = textKey("Open the running Dravo's panel"),
        .description =
            textKey("Does what a second start of Dravo does. One that runs without a window has no panel to open."),
        .options = {kStateJsonOption},
        .run = ask<request::Activate>,
    },
    {
        .name = "quit",
        .summary = textKey("End the running Dravo"),
        .description = textKey("Returns when it has ended and every display has its own table back."),
        .run = runQuit,
    },
};

}  // namespace

std::span<const Command> controlCommands() { return kCommands; }

}  // namespace dravo::cli
