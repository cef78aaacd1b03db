#include "cli/status_text.h"

#include <utility>
#include <vector>

#include "base/shortest_text.h"
#include "cli/text.h"

namespace dravo::cli {

namespace {

using Rows = std::vector<std::pair<std::string, std::string>>;

/// "20:00", with the day when that is not today.
std::string instantText(WallTime instant, WallTime now, const Calendar& calendar) {
    const LocalFields then = calendar.fields(instant);
    const LocalFields today = calendar.fields(now);
    const std::string time = clockText(then.hour * 60 + then.minute);
    if (then.year == today.year && then.month == today.month && then.day == today.day) return time;
    return std::to_string(then.year) + "-" + twoDigits(then.month) + "-" + twoDigits(then.day) + " " + time;
}

std::string filterText(const ControlState& state, WallTime now, const Calendar& calendar) {
    if (state.isEnabled) return "on";
    return state.pausedUntil ? "paused until " + instantText(*state.pausedUntil, now, calendar) : "off";
}

std::string displayText(const DisplayDescription& display) {
    return display.name + (display.problem.empty() ? " ready" : " unsupported: " + display.problem);
}

std::string reminderText(const ControlState& state) {
    return state.breaks.enabled ? "every " + std::to_string(state.breaks.intervalMinutes) + " minutes" : "off";
}

Rows rowsOf(const ControlState& state, WallTime now, const Calendar& calendar) {
    Rows rows{{"filter", filterText(state, now, calendar)},
              {"preset", state.preset + (state.isEdited ? " (edited)" : "")},
              {"intensity", fixed(state.intensity, 2)},
              {"dimming", fixed(state.dimming, 2)},
              {"black point", fixed(state.blackPoint, 2)},
              {"contrast", fixed(state.contrast, 2)},
              {"melanopic light", "reduced by " + fixed(state.melanopicReduction, 0) + "%"},
              {"schedule", scheduleText(state)}};
    if (state.nextChange) {
        rows.emplace_back("next change", std::string(state.nextChange->turnsOn ? "on" : "off") + " at " +
                                             instantText(state.nextChange->at, now, calendar));
    }
    if (state.schedule.mode == ScheduleMode::sunsetToSunrise) rows.emplace_back("location", locationText(state));
    rows.emplace_back("breaks", reminderText(state));
    for (const auto& display : state.displays) rows.emplace_back("display", displayText(display));
    return rows;
}

}  // namespace

std::string statusText(const ControlState& state, WallTime now, const Calendar& calendar) {
    constexpr std::size_t kLabelWidth = 17;
    std::string text;
    for (auto& [label, value] : rowsOf(state, now, calendar)) {
        label[0] = static_cast<char>(label[0] - 'a' + 'A');
        text += padded(label, kLabelWidth) + (label == "Breaks" ? breaksText(state) : value) + "\n";
    }
    return text;
}

std::string statusLine(const ControlState& state, WallTime now, const Calendar& calendar) {
    std::string line;
    for (const auto& [label, value] : rowsOf(state, now, calendar)) {
        line += (line.empty() ? "" : "; ") + label + " " + value;
    }
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
    std::string text = latitude && longitude ? shortestText(*latitude) + " " + shortestText(*longitude) : "unknown";
    switch (source) {
        case LocationSource::typed:
            return text + " (typed)";
        case LocationSource::zone:
            return text + " (approximate, from the time zone)";
        case LocationSource::service:
            break;
    }
    return text + " (location service" +
           (status == "waiting"  ? ", which is being asked)"
            : status == "denied" ? ", which gives no position)"
                                 : ")");
}

std::string breaksText(const ControlState& state) {
    const auto& breaks = state.breaks;
    if (breaks.breakSecondsLeft > 0) return "rest now, " + std::to_string(breaks.breakSecondsLeft) + " s";
    if (!breaks.enabled) return reminderText(state);
    return reminderText(state) + ", next in " + std::to_string(breaks.secondsRemaining / 60) + ":" +
           twoDigits(breaks.secondsRemaining % 60);
}

}  // namespace dravo::cli
