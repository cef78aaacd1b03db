#include "support/screen_reader.h"

#include <algorithm>
#include <array>
#include <utility>

namespace dravo::testing {

namespace {

constexpr const char* kAccessible = "org.a11y.atspi.Accessible";
constexpr const char* kAction = "org.a11y.atspi.Action";
constexpr const char* kComponent = "org.a11y.atspi.Component";
constexpr const char* kValue = "org.a11y.atspi.Value";
constexpr std::string_view kPrefix = "org.a11y.atspi.";

const BusObject kRegistry{"org.a11y.atspi.Registry", "/org/a11y/atspi/accessible/root"};

constexpr unsigned kShowing = 25;
/// The states that tests ask for, by their numbers in the protocol.
constexpr std::array<std::pair<unsigned, const char*>, 6> kStates{
    {{4, "checked"}, {8, "enabled"}, {10, "expanded"}, {11, "focusable"}, {12, "focused"}, {kShowing, "showing"}}};

}  // namespace

AccessibilityBus::AccessibilityBus(const Environment& session)
    : launcher_("/usr/libexec/at-spi-bus-launcher",
                {.arguments = {"--launch-immediately"}, .environment = session, .signalAtOurDeath = SIGTERM}) {
    BusClient bus(session.at("DBUS_SESSION_BUS_ADDRESS"));
    if (!waitUntil([&] { return bus.hasOwner("org.a11y.Bus"); }))
        throw std::runtime_error("no accessibility services: " + launcher_.standardError());
    address_ = bus.call({"org.a11y.Bus", "/org/a11y/bus"}, "org.a11y.Bus", "GetAddress").text();
    // Whoever uses the services while the registry starts waits for it, with all that its thread should do meanwhile.
    BusClient(address_).call(kRegistry, "org.freedesktop.DBus.Peer", "Ping");
}

std::vector<ScreenReader::Control> ScreenReader::controls(const std::string& program) {
    std::vector<Control> found;
    for (const auto& application : childrenOf(kRegistry)) {
        if (nameOf(application) != program) continue;
        for (const auto& window : childrenOf(application)) walk(window, found);
    }
    return found;
}

std::optional<ScreenReader::Control> ScreenReader::find(const std::string& name, const std::string& role) {
    for (auto& control : controls()) {
        if (control.name == name && (role.empty() || control.role == role)) return control;
    }
    return std::nullopt;
}

// Only through what is showing: what is folded away stands in the tree as well.
void ScreenReader::walk(const BusObject& object, std::vector<Control>& found) {
    const auto control = readIfThere(object);
    if (!control || !control->is("showing")) return;
    found.push_back(*control);
    for (const auto& child : childrenOf(object)) walk(child, found);
}

// What was named a moment ago may be gone by now.
std::optional<ScreenReader::Control> ScreenReader::readIfThere(const BusObject& object) {
    try {
        return read(object);
    } catch (const std::runtime_error&) {
        return std::nullopt;
    }
}

ScreenReader::Control ScreenReader::read(const BusObject& object) {
    Control control{
        .object = object, .role = bus_.call(object, kAccessible, "GetRoleName").text(), .name = nameOf(object)};
    auto states = bus_.call(object, kAccessible, "GetState");
    unsigned word = 0;
    states.forEach('a', "u", [&] {
        const auto bits = states.value<std::uint32_t>("u");
        for (const auto& [number, name] : kStates)
            if (number / 32 == word && (bits >> number % 32 & 1U) != 0) control.states.insert(name);
        ++word;
    });
    if (!control.is("showing")) return control;
    auto interfaces = bus_.call(object, kAccessible, "GetInterfaces");
    interfaces.forEach('a', "s", [&] {
        const std::string interface = interfaces.text();
        if (interface.starts_with(kPrefix)) control.abilities.insert(interface.substr(kPrefix.size()));
    });
    if (control.can("Component")) {
        auto extents = bus_.call(object, kComponent, "GetExtents", "u", 0U);
        extents.enter('r', "iiii");
        for (int* const number : {&control.box.x, &control.box.y, &control.box.width, &control.box.height})
            *number = extents.value<int>("i");
    }
    if (control.can("Action")) {
        auto actions = bus_.call(object, kAction, "GetActions");
        actions.forEach('a', "(sss)", [&] {
            actions.enter('r', "sss");
            control.actions.push_back(actions.text());
            actions.skip("ss");
            actions.leave();
        });
    }
    return control;
}

std::vector<BusObject> ScreenReader::childrenOf(const BusObject& parent) {
    std::vector<BusObject> children;
    auto answer = bus_.call(parent, kAccessible, "GetChildren");
    answer.forEach('a', "(so)", [&] {
        answer.enter('r', "so");
        BusObject child{answer.text(), {}};
        child.path = answer.text("o");
        children.push_back(std::move(child));
        answer.leave();
    });
    return children;
}

std::string ScreenReader::nameOf(const BusObject& object) {
    auto answer = bus_.property(object, kAccessible, "Name");
    answer.enter('v', "s");
    return answer.text();
}

void ScreenReader::act(const Control& control) {
    if (control.actions.empty()) throw std::runtime_error(control.name + " does nothing");
    bus_.call(control.object, kAction, "DoAction", "i", 0);
}

double ScreenReader::number(const Control& control, const char* property) {
    auto answer = bus_.property(control.object, kValue, property);
    answer.enter('v', "d");
    return answer.value<double>("d");
}

double ScreenReader::value(const Control& control) { return number(control, "CurrentValue"); }

std::pair<double, double> ScreenReader::range(const Control& control) {
    return {number(control, "MinimumValue"), number(control, "MaximumValue")};
}

void ScreenReader::setValue(const Control& control, double value) {
    bus_.call(control.object, "org.freedesktop.DBus.Properties", "Set", "ssv", kValue, "CurrentValue", "d", value);
}

void ScreenReader::setText(const Control& control, const std::string& text) {
    bus_.call(control.object, "org.a11y.atspi.EditableText", "SetTextContents", "s", text.c_str());
}

std::string ScreenReader::text(const Control& control) {
    return bus_.call(control.object, "org.a11y.atspi.Text", "GetText", "ii", 0, -1).text();
}

void ScreenReader::listen() {
    bus_.call({kRegistry.owner, "/org/a11y/atspi/registry"}, "org.a11y.atspi.Registry", "RegisterEvent", "s",
              "object:state-changed:showing");
    bus_.listen("type='signal',interface='org.a11y.atspi.Event.Object',member='StateChanged'");
}

int ScreenReader::alerts(const std::string& name) {
    int count = 0;
    for (auto& message : bus_.heard()) {
        const BusObject object{sd_bus_message_get_sender(message.get()), sd_bus_message_get_path(message.get())};
        if (message.text() != "showing" || message.value<int>("i") == 0) continue;
        const auto control = readIfThere(object);
        if (control && control->role == "alert message" && control->name == name) ++count;
    }
    return count;
}

}  // namespace dravo::testing
