#pragma once

#include <string>
#include <vector>

#include "app/control_client.h"
#include "base/shortest_text.h"

namespace dravo::testing {

/// A running program that notes what it is asked for; not running until a test says so.
class FakeControlClient final : public ControlClient {
public:
    /// What every call fails with; nothing while the program runs and agrees.
    std::optional<Error> failure = Error{ErrorCode::NotFound, "Dravo is not running"};
    /// What it is at first, and what it becomes while somebody follows.
    std::vector<ControlState> states{ControlState{}};
    std::vector<std::string> calls;

    Result<ControlState> state() override {
        if (failure) return *failure;
        return states.front();
    }
    Result<void> follow(const std::function<bool(const ControlState&)>& onState) override {
        if (failure) return *failure;
        for (const auto& state : states) {
            if (!onState(state)) break;
        }
        return {};
    }
    Result<void> toggle() override { return note("toggle"); }
    Result<void> switchOn() override { return note("on"); }
    Result<void> switchOff() override { return note("off"); }
    Result<void> pause(const PauseLength& length) override {
        if (const auto* span = std::get_if<std::chrono::seconds>(&length))
            return note("pause " + std::to_string(span->count()));
        if (const auto* until = std::get_if<WallTime>(&length))
            return note("pause until " + std::to_string(until->time_since_epoch() / std::chrono::minutes(1)));
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
        return note("location " + std::string(nameOf(change.source)) +
                    (change.position ? text(std::optional(change.position->latitude)) +
                                           text(std::optional(change.position->longitude))
                                     : ""));
    }
    Result<void> setBreaks(const BreaksChange& change) override {
        return note("breaks" + text(change.enabled) + text(change.intervalMinutes));
    }
    Result<void> dismissBreak() override { return note("dismiss"); }
    Result<std::vector<std::string>> importPresets(const std::string&) override {
        if (const auto noted = note("import"); !noted) return noted.error();
        return std::vector<std::string>{"BY-INSTANCE"};
    }
    Result<std::string> exportPresets(const std::vector<std::string>& ids) override {
        if (const auto noted = note("export " + std::to_string(ids.size())); !noted) return noted.error();
        return std::string("[]");
    }
    Result<void> activate() override { return note("activate"); }
    Result<void> restore() override { return note("restore"); }
    Result<void> quit() override { return note("quit"); }

private:
    template <typename Value>
    static std::string text(const std::optional<Value>& value) {
        return value ? " " + shortestText(static_cast<double>(*value)) : " -";
    }
    Result<void> note(std::string call) {
        if (failure) return *failure;
        calls.push_back(std::move(call));
        return {};
    }
};

}  // namespace dravo::testing
