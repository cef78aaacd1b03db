#include "platform/dbus/night_lights.h"

#include <array>
#include <chrono>
#include <memory>
#include <string_view>
#include <utility>

namespace dravo::dbus {

namespace {

constexpr std::chrono::seconds kTimeout{5};
constexpr TextKey kTints = textKey("%@ tints the screen as well: two tints add up, or take turns");
constexpr TextKey kSwitchOff = textKey("Switch it off while Dravo is to tint");

struct NightLight {
    const char* name;
    const char* service;
    const char* path;
    const char* interface;
    const char* isTinting;   ///< A property.
    const char* isHeldBack;  ///< Another, which takes that back; may be null.
    const char* command;
};

constexpr std::array<NightLight, 2> kNightLights{{
    {"GNOME Night Light", "org.gnome.SettingsDaemon.Color", "/org/gnome/SettingsDaemon/Color",
     "org.gnome.SettingsDaemon.Color", "NightLightActive", "DisabledUntilTomorrow",
     "gsettings set org.gnome.settings-daemon.plugins.color night-light-enabled false"},
    {"Plasma Night Light", "org.kde.KWin.NightLight", "/org/kde/KWin/NightLight", "org.kde.KWin.NightLight", "running",
     "inhibited", ""},
}};

bool tints(const NightLight& light, sd_bus_message* properties) {
    bool isTinting = false;
    bool isHeldBack = false;
    readDictionary(properties, [&](const char* key, const char* signature, sd_bus_message* value) {
        int isOn = 0;
        if (std::string_view(signature) != "b" || sd_bus_message_read(value, "b", &isOn) <= 0) return;
        if (std::string_view(key) == light.isTinting) isTinting = isOn != 0;
        if (std::string_view(key) == light.isHeldBack) isHeldBack = isOn != 0;
    });
    return isTinting && !isHeldBack;
}

struct Question {
    std::vector<Finding> findings;
    std::size_t open = kNightLights.size();
    std::vector<Subscription> asked;
};

}  // namespace

Subscription NightLights::probe(Found found) {
    bus_.open();
    auto question = std::make_shared<Question>();
    for (const auto& light : kNightLights) {
        Message call =
            bus_.newCall(light.service, light.path, "org.freedesktop.DBus.Properties", "GetAll", "s", light.interface);
        if (call) sd_bus_message_set_auto_start(call.get(), 0);
        question->asked.push_back(
            bus_.call(std::move(call), kTimeout, [raw = question.get(), &light, found](const Bus::Answer& answer) {
                if (answer && tints(light, *answer))
                    raw->findings.push_back({{}, Sentence{kTints, {light.name}}, Sentence{kSwitchOff}, light.command});
                if (--raw->open == 0) found(raw->findings);
            }));
    }
    return Subscription([question] { question->asked.clear(); });
}

}  // namespace dravo::dbus
