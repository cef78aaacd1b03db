#pragma once

#include "platform/dbus/bus.h"

namespace dravo::gnome {

/// GNOME's settings daemon for colours, which runs Night Light, on the session bus.
inline constexpr const char* kColorSettings = "org.gnome.SettingsDaemon.Color";
inline constexpr const char* kColorSettingsPath = "/org/gnome/SettingsDaemon/Color";
inline constexpr const char* kProperties = "org.freedesktop.DBus.Properties";

/// A call to switch Night Light off until tomorrow, or on again before that. `connection` is whatever makes calls.
template <typename Connection>
[[nodiscard]] dbus::Message switchNightLightCall(Connection& connection, bool on) {
    return connection.newCall(kColorSettings, kColorSettingsPath, kProperties, "Set", "ssv", kColorSettings,
                              "DisabledUntilTomorrow", "b", static_cast<int>(!on));
}

}  // namespace dravo::gnome
