#pragma once

#include <string>
#include <vector>

#include "app/control_client.h"
#include "support/noted_control.h"

namespace dravo::testing {

/// A running program that notes what it is asked for; not running until a test says so.
class FakeControlClient final : public NotedControl<ControlClient> {
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
    Result<std::vector<std::string>> importPresets(const std::string&) override {
        if (const auto noted = note("import"); !noted) return noted.error();
        return std::vector<std::string>{"BY-INSTANCE"};
    }
    Result<std::string> exportPresets(const std::vector<std::string>& ids) override {
        if (const auto noted = note("export " + std::to_string(ids.size())); !noted) return noted.error();
        return std::string("[]");
    }

private:
    Result<void> note(std::string call) override {
        if (failure) return *failure;
        calls.push_back(std::move(call));
        return {};
    }
};

}  // namespace dravo::testing
