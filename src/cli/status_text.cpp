#include "cli/status_text.h"

#include <algorithm>
#include <vector>

#include "app/display_problems.h"
#include "base/localized.h"
#include "base/shortest_text.h"
#include "cli/text.h"

namespace dravo::cli {

namespace {

using Rows = std::vector<std::vector<std::string>>;  // a label and a value each

/// "20:00", with the day when that is not today.
std::string instantText(WallTime instant, WallTime now, const Calendar& calendar) {
    const LocalFields then = calendar.fields(instant);
    const LocalFields today = calendar.fields(now);
    const std::string time = clockText(then.hour * 60 + then.minute);
    if (then.year == today.year && then.month == today.month && then.day == today.day) return time;
    return std::to_string(then.year) + "-" + twoDigits(then.month) + "-" + twoDigits(then.day) + " " + time;
}

std::string onOrOff(bool isOn) { return isOn ? localized("status.on", "on") : localized("status.off", "off"); }

std::string filterText(const ControlState& state, WallTime now, const Calendar& calendar) {
    if (state.isEnabled || !state.pausedUntil) return onOrOff(state.isEnabled);
    return filled(localized("status.paused", "paused until %@"), {instantText(*state.pausedUntil, now, calendar)});
}

std::string presetText(const ControlState& state) {
    const std::string id = printable(state.preset);
    return state.isEdited ? filled(localized("status.edited", "%@ (edited)"), {id}) : id;
}

std::string nextChangeText(const ControlState::NextChange& change, WallTime now, const Calendar& calendar) {
    const std::string form =
        // TRANSLATORS: the value is a time of day, or a date with one: "2026-11-24 07:00".
        change.turnsOn ? localized("status.next_on", "on at %@") : localized("status.next_off", "off at %@");
    return filled(form, {instantText(change.at, now, calendar)});
}

/// What is off has a gender and a number in many languages.
std::string hoursText(const ControlState& state) {
    const auto& schedule = state.schedule;
    if (!schedule.enabled) return localized("status.schedule_off", "off");
    return schedule.mode == ScheduleMode::sunsetToSunrise ? localized("status.sun", "sun") : scheduleText(state);
}

std::string displayText(const ControlledDisplay& display) {
    if (display.problem.empty()) return filled(localized("status.display_ready", "%@ ready"), {display.name});
    return filled(localized("status.display_unsupported", "%1$@ unsupported: %2$@"),
                  {display.name, localized(textKey(display.problem))});
}

std::string reminderText(const ControlState& state) {
    if (!state.breaks.enabled) return localized("status.breaks_off", "off");
    const auto minutes = static_cast<std::uint64_t>(std::max(state.breaks.intervalMinutes, 0));
    return filled(localizedCount("status.every", "every %lld minute", "every %lld minutes", minutes),
                  {std::to_string(minutes)});
}

/// The breaks with their countdown, or without.
enum class Countdown { shown, leftOut };

Rows rowsOf(const ControlState& state, WallTime now, const Calendar& calendar, Countdown countdown) {
    const auto figure = [](double value) { return fixed(value, 2); };
    Rows rows{{localized("Filter"), filterText(state, now, calendar)},
              {localized("Preset"), presetText(state)},
              {localized("Intensity"), figure(state.intensity)},
              {localized("Dimming"), figure(state.dimming)},
              {localized("status.black_point", "Black point"), figure(state.blackPoint)},
              {localized("Contrast"), figure(state.contrast)},
              {localized("Melanopic light"),
               filled(localized("status.reduced", "reduced by %@"), {percentText(state.melanopicReduction)})},
              {localized("Schedule"), hoursText(state)}};
    if (state.lacksGrayscale) rows.insert(rows.begin() + 2, {localized("Preset"), localized(kNoGrayscale)});
    if (state.nextChange) rows.push_back({localized("Next change"), nextChangeText(*state.nextChange, now, calendar)});
    if (state.schedule.mode == ScheduleMode::sunsetToSunrise)
        rows.push_back({localized("Location"), locationText(state)});
    rows.push_back({localized("Breaks"), countdown == Countdown::shown ? breaksText(state) : reminderText(state)});
    for (const auto& display : state.displays) rows.push_back({localized("Display"), displayText(display)});
    return rows;
}

}  // namespace

std::string statusText(const ControlState& state, WallTime now, const Calendar& calendar) {
    return inColumns(rowsOf(state, now, calendar, Countdown::shown));
}

std::string statusLine(const ControlState& state, WallTime now, const Calendar& calendar) {
    std::string line;
    const std::string between = localized("status.between", "; ");
    for (const auto& row : rowsOf(state, now, calendar, Countdown::leftOut))
        line += (line.empty() ? "" : between) + row[0] + " " + row[1];
    return line;
}

std::string scheduleText(const ControlState& state) {
    const auto& schedule = state.schedule;
    if (!schedule.enabled) return "off";
    if (schedule.mode == ScheduleMode::sunsetToSunrise) return "sun";
    return clockText(schedule.startMinutes) + "-" + clockText(schedule.endMinutes);
}

std::string locationText(const ControlState& state) {
    const auto& [source, status, latitude, longitude] = state.location;
    const std::string place = latitude && longitude ? shortestText(*latitude) + " " + shortestText(*longitude)
                                                    : localized("status.place_unknown", "unknown");
    const auto from = [&](const std::string& form) { return filled(form, {place}); };
    if (source == LocationSource::typed) return from(localized("status.place_typed", "%@ (typed)"));
    if (source == LocationSource::zone)
        return from(localized("status.place_zone", "%@ (approximate, from the time zone)"));
    if (status == "waiting")
        return from(localized("status.place_waiting", "%@ (location service, which is being asked)"));
    if (status == "denied")
        return from(localized("status.place_denied", "%@ (location service, which gives no position)"));
    return from(localized("status.place_service", "%@ (location service)"));
}

std::string breaksText(const ControlState& state) {
    const auto& breaks = state.breaks;
    if (breaks.breakSecondsLeft > 0)
        return filled(localized("status.rest", "rest now, %@ s"), {std::to_string(breaks.breakSecondsLeft)});
    if (!breaks.enabled) return reminderText(state);
    const std::string left =
        std::to_string(breaks.secondsRemaining / 60) + ":" + twoDigits(breaks.secondsRemaining % 60);
    return filled(localized("status.next_break", "%1$@, next in %2$@"), {reminderText(state), left});
}

}  // namespace dravo::cli
