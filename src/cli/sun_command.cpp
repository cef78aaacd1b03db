#include <algorithm>
#include <chrono>
#include <optional>
#include <string>

#include "base/utc_text.h"
#include "cli/arguments.h"
#include "cli/command_context.h"
#include "cli/commands.h"
#include "cli/text.h"
#include "schedule/solar_calculator.h"

namespace dravo::cli {

namespace {

/// "2026-06-21" as a day that exists, of the years that the clock's unit reaches from end to end.
std::optional<LocalFields> parseDate(std::string_view text) {
    constexpr std::string_view kForm = "dddd-dd-dd";
    const auto isOfForm = [](char c, char form) { return form == 'd' ? c >= '0' && c <= '9' : c == form; };
    if (!std::ranges::equal(text, kForm, isOfForm)) return std::nullopt;
    const auto number = [&](std::size_t start, std::size_t length) {
        return std::stoi(std::string(text.substr(start, length)));
    };
    const LocalFields fields{number(0, 4), number(5, 2), number(8, 2), 12, 0, 0};
    const bool isDay = std::chrono::year_month_day(std::chrono::year(fields.year),
                                                   std::chrono::month(static_cast<unsigned>(fields.month)),
                                                   std::chrono::day(static_cast<unsigned>(fields.day)))
                           .ok();
    return isDay && fields.year >= 1678 && fields.year <= 2261 ? std::optional(fields) : std::nullopt;
}

std::string sunJson(const std::optional<SolarTimes>& times, const std::optional<ScheduleWindow>& window) {
    if (!times || !window) return "null\n";
    return R"({"sunrise":")" + utcText(times->sunrise) + R"(","sunset":")" + utcText(times->sunset) +
           R"(","startMinutes":)" + std::to_string(window->startMinutes) + R"(,"endMinutes":)" +
           std::to_string(window->endMinutes) + "}\n";
}

std::string sunText(const std::optional<ScheduleWindow>& window) {
    if (!window) return localized("The sun does not cross the horizon on that day.") + "\n";
    return filled(localized("Sunrise %1$@, sunset %2$@"),
                  {clockText(window->endMinutes), clockText(window->startMinutes)}) +
           "\n";
}

/// Where the sun is asked for: where the command line says, else where the person is known to be, else in the zone.
Result<Position> placeOf(const Call& call, const TimeZone& zone) {
    const auto latitude = call.arguments.number("latitude");
    if (latitude) return Position{*latitude, *call.arguments.number("longitude")};
    if (!call.arguments.has("time-zone"))
        if (const auto known = call.context.knownPosition()) return *known;
    auto place = zone.position();
    if (place) return place;
    return Error{place.error().code, Sentence(textKey("%@; give --latitude and --longitude"), {place.error().message})};
}

ExitCode runSun(const Call& call) {
    const auto& arguments = call.arguments;
    if (arguments.has("latitude") != arguments.has("longitude"))
        return misused(call, textKey("--latitude and --longitude go together"));
    const auto dateText = arguments.text("date");
    const auto date = dateText ? parseDate(*dateText) : std::nullopt;
    if (dateText && !date) {
        return misused(
            call, Sentence(textKey("--date takes a day from 1678-01-01 to 2261-12-31, not %@"), {quoted(*dateText)}));
    }
    const auto zone = call.context.timeZone(arguments.text("time-zone"));
    if (!zone) return misused(call, zone.error().message);
    const auto place = placeOf(call, *zone);
    if (!place) return misused(call, place.error().message);
    // Noon is never on another day, whatever the clocks do at night.
    const WallTime day = date ? zone->calendar.instant(*date) : call.context.now();
    const auto window = SolarCalculator::scheduleWindow(day, zone->calendar, place->latitude, place->longitude);
    const auto times = SolarCalculator::solarTimes(day, place->latitude, place->longitude, zone->calendar);
    call.context.out.write(arguments.has("json") ? sunJson(times, window) : sunText(window));
    return ExitCode::Ok;
}

}  // namespace

const Command kSunCommand{
    .name = "sun",
    .summary = textKey("Show when the sun rises and sets"),
    .usages = {"[--latitude X --longitude Y] [OPTIONS]"},
    .description = textKey("Without a position, the one that Dravo knows is taken, else that of the time zone's "
                           "principal place. Times are local; --json gives them in UTC, with the minutes of the local "
                           "day at which a filter from sunset "
                           "to sunrise begins and ends, or null when the sun does not cross the horizon."),
    .options = {{"latitude", "X", textKey("Degrees north"), Option::Kind::Number, -90, 90},
                {"longitude", "Y", textKey("Degrees east"), Option::Kind::Number, -180, 180},
                {"date", "YYYY-MM-DD", textKey("The day instead of today"), Option::Kind::Text},
                {"time-zone", "NAME", textKey("The time zone, e.g. Europe/Berlin, instead of the system's"),
                 Option::Kind::Text},
                kJsonOption},
    .run = runSun,
};

}  // namespace dravo::cli
