#pragma once

#include <optional>
#include <set>
#include <string>
#include <vector>

#include "support/bus_client.h"
#include "support/child_process.h"
#include "support/x_windows.h"

namespace dravo::testing {

/// The accessibility services of a session of the test's own. A program started with `variables` speaks to them.
class AccessibilityBus {
public:
    /// `session`: DISPLAY, the session bus and a home.
    explicit AccessibilityBus(const Environment& session);

    [[nodiscard]] const std::string& address() const { return address_; }

private:
    ChildProcess launcher_;
    std::string address_;
};

/// What a person who cannot see the screen has: the controls of a program by role, name, value and state, and ways to
/// operate them.
///
/// Throws std::runtime_error where the program does not answer.
class ScreenReader {
public:
    struct Control {
        BusObject object;
        std::string role;
        std::string name;
        Box box = {};
        std::set<std::string> states = {};     ///< "checked", "expanded", "focusable", "enabled".
        std::set<std::string> abilities = {};  ///< "Action", "Value", "EditableText", ...
        std::vector<std::string> actions = {};

        [[nodiscard]] bool is(const char* state) const { return states.contains(state); }
        [[nodiscard]] bool can(const char* ability) const { return abilities.contains(ability); }
    };

    explicit ScreenReader(const std::string& accessibilityBus) : bus_(accessibilityBus) {}

    /// All that can be seen of the program that says it is `program`, outer before inner; nothing where there is none.
    [[nodiscard]] std::vector<Control> controls(const std::string& program = "Dravo");
    /// The first of them with this name, and of this role if one is given.
    [[nodiscard]] std::optional<Control> find(const std::string& name, const std::string& role = {});

    /// Does the first of its actions.
    void act(const Control& control);
    [[nodiscard]] double value(const Control& control);
    /// The least and the greatest value.
    [[nodiscard]] std::pair<double, double> range(const Control& control);
    void setValue(const Control& control, double value);
    void setText(const Control& control, const std::string& text);
    [[nodiscard]] std::string text(const Control& control);

    /// Notes from now on what comes into sight.
    void listen();
    /// How often the program has told of an alert of this name since the last call.
    [[nodiscard]] int alerts(const std::string& name);

private:
    [[nodiscard]] std::vector<BusObject> childrenOf(const BusObject& parent);
    [[nodiscard]] std::string nameOf(const BusObject& object);
    [[nodiscard]] Control read(const BusObject& object);
    [[nodiscard]] std::optional<Control> readIfThere(const BusObject& object);
    void walk(const BusObject& object, std::vector<Control>& found);
    [[nodiscard]] double number(const Control& control, const char* property);

    BusClient bus_;
};

}  // namespace dravo::testing
