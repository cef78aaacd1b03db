#include <chrono>
#include <optional>
#include <string>

#include "base/utc_text.h"
#include "cli/arguments.h"
#include "cli/command_line.h"
#include "cli/commands.h"
#include "cli/text.h"
#include "schedule/solar_calculator.h"

namespace dravo::cli {

namespace {

/// "2026-06-21" as a day that exists.
std::optional<std::chrono::year_month_day> parseDate(std::string_view text) {
    constexpr std::string_view kForm = "dddd-dd-dd";
    if (text.size() != kForm.size()) return std::nullopt;
    for (std::size_t i = 0; i < kForm.size(); ++i) {
        const bool isDigit = text[i] >= '0' && text[i] <= '9';
        if (kForm[i] == 'd' ? !isDigit : text[i] != kForm[i]) return std::nullopt;
    }
    const auto number = [&](std::size_t start, std::size_t length) {
        unsigned value = 0;
        for (const char digit : text.substr(start, length)) value = value * 10 + static_cast<unsigned>(digit - '0');
        return value;
    };
    const std::chrono::year_month_day date{std::chrono::year(static_cast<int>(number(0, 4))),
                                           std::chrono::month(number(5, 2)), std::chrono::day(number(8, 2))};
    return date.ok() && date.year() > std::chrono::year(0) ? std::optional(date) : std::nullopt;
}

/// Noon of the day in the zone: never on another day, whatever the clocks do at night.
WallTime noonOf(const std::chrono::year_month_day& date, const Calendar& calendar) {
    return calendar.instant({static_cast<int>(date.year()), static_cast<int>(static_cast<unsigned>(date.month())),
                             static_cast<int>(static_cast<unsigned>(date.day())), 12, 0, 0});
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

ExitCode runSun(const Arguments& arguments, CommandContext& context) {
    const auto latitude = arguments.number("latitude");
    const auto longitude = arguments.number("longitude");
    if (latitude.has_value() != longitude.has_value()) {
        return misused(context, kSunCommand, localized("--latitude and --longitude go together"));
    }
    const auto dateText = arguments.text("date");
    const auto date = dateText ? parseDate(*dateText) : std::nullopt;
    if (dateText && !date) {
        return misused(context, kSunCommand,
                       filled(localized("--date takes a day as YYYY-MM-DD, not %@"), {quoted(*dateText)}));
    }
    const auto zone = context.timeZone(arguments.text("time-zone"));
    if (!zone) return misused(context, kSunCommand, zone.error().message);
    auto position = latitude ? Result<Position>(Position{*latitude, *longitude}) : zone->position();
    if (!position) {
        return misused(context, kSunCommand,
                       filled(localized("%@; give --latitude and --longitude"), {position.error().message}));
    }
    const WallTime day = date ? noonOf(*date, zone->calendar) : context.now();
    const auto window = SolarCalculator::scheduleWindow(day, zone->calendar, position->latitude, position->longitude);
    const auto times = SolarCalculator::solarTimes(day, position->latitude, position->longitude, zone->calendar);
    context.out.write(arguments.has("json") ? sunJson(times, window) : sunText(window));
    return ExitCode::Ok;
}

constexpr const char* kSunUsages[] = {"[--latitude X --longitude Y] [OPTIONS]"};
constexpr Option kSunOptions[] = {
    {"latitude", "X", textKey("Degrees north"), Option::Kind::Number, -90, 90},
    {"longitude", "Y", textKey("Degrees east"), Option::Kind::Number, -180, 180},
    {"date", "YYYY-MM-DD", textKey("The day instead of today"), Option::Kind::Text},
    {"time-zone", "NAME", textKey("The time zone, e.g. Europe/Berlin, instead of the system's"), Option::Kind::Text},
    kJsonOption,
};

}  // namespace

const Command kSunCommand{
    .name = "sun",
    .summary = textKey("Show when the sun rises and sets"),
    .usages = kSunUsages,
    .description = textKey("Without a position, that of the time zone's principal place is taken. Times are local; "
                           "--json gives them in UTC, with the minutes of the local day at which a filter from sunset "
                           "to sunrise begins and ends, or null when the sun does not cross the horizon."),
    .options = kSunOptions,
    .run = runSun,
};

}  // namespace dravo::cli
