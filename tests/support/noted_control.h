#pragma once

#include <string>

#include "app/control_service.h"
#include "base/shortest_text.h"

namespace dravo::testing {

/// Who is asked for what a person can do, and notes it: "pause 900", "set 0.6 - - -". `Port` is one end of control
/// from outside, ControlTarget or ControlClient.
template <typename Port>
class NotedControl : public Port {
public:
    Result<void> toggle() override { return note("toggle"); }
    Result<void> switchOn() override { return note("on"); }
    Result<void> switchOff() override { return note("off"); }
    Result<void> pause(const PauseLength& length) override {
        if (const auto* span = std::get_if<std::chrono::seconds>(&length))
            return note("pause " + std::to_string(span->count()));
        if (const auto* until = std::get_if<WallTime>(&length)) return note("pause until " + secondsOf(*until));
        return note("pause morning");
    }
    Result<void> resume() override { return note("resume"); }
    Result<void> selectPreset(const std::string& id) override {
        if (id.starts_with("no")) return Error{ErrorCode::InvalidInput, "no preset has the id \"" + id + "\""};
        return note("preset " + id);
    }
    Result<void> setAdjustments(const AdjustmentChange& change) override {
        return note("set" + text(change.intensity) + text(change.dimming) + text(change.blackPoint) +
                    text(change.contrast));
    }
    Result<void> setSchedule(const ScheduleChange& change) override {
        return note("schedule" + text(change.enabled) + (change.mode ? " " + std::string(nameOf(*change.mode)) : " -") +
                    text(change.startMinutes) + text(change.endMinutes));
    }
    Result<void> setLocation(const LocationChange& change) override {
        std::string call = "location " + std::string(nameOf(change.source));
        if (const auto& place = change.position)
            call += " " + shortestText(place->latitude) + " " + shortestText(place->longitude);
        return note(std::move(call));
    }
    Result<void> setBreaks(const BreaksChange& change) override {
        return note("breaks" + text(change.enabled) + text(change.intervalMinutes));
    }
    Result<void> dismissBreak() override { return note("dismiss"); }
    Result<void> activate() override { return note("activate"); }
    Result<void> restore() override { return note("restore"); }
    Result<void> quit() override { return note("quit"); }

    static std::string secondsOf(WallTime instant) {
        return std::to_string(instant.time_since_epoch() / std::chrono::seconds(1));
    }

protected:
    virtual Result<void> note(std::string call) = 0;

private:
    template <typename Value>
    static std::string text(const std::optional<Value>& value) {
        return value ? " " + shortestText(static_cast<double>(*value)) : " -";
    }
};

}  // namespace dravo::testing
