#include "platform/dbus/tray_host.h"

#include <cstdlib>
#include <string_view>

namespace dravo::dbus {

namespace {

constexpr const char* kWatcher = "org.kde.StatusNotifierWatcher";
constexpr const char* kPath = "/StatusNotifierWatcher";
constexpr std::chrono::seconds kTimeout{5};

constexpr TextKey kNoTray = textKey("no bar of this desktop shows tray icons");
constexpr TextKey kExtension = textKey(
    "Install the extension AppIndicator and KStatusNotifierItem Support; starting Dravo again opens the panel, too");
constexpr TextKey kAnotherBar =
    textKey("Use a bar with a tray; starting Dravo again, or this command, opens the panel, too");

Finding missing() {
    const char* const desktop = std::getenv("XDG_CURRENT_DESKTOP");
    const bool isGnome = desktop && std::string_view(desktop).find("GNOME") != std::string_view::npos;
    return {{}, Sentence{kNoTray}, Sentence{isGnome ? kExtension : kAnotherBar}, "dravo panel"};
}

}  // namespace

Subscription TrayHost::probe(Found found) {
    bus_.open();  // an absent bus answers like an absent watcher
    return bus_.call(
        bus_.newCall(kWatcher, kPath, "org.freedesktop.DBus.Properties", "Get", "ss", kWatcher,
                     "IsStatusNotifierHostRegistered"),
        kTimeout, [this, found = std::move(found)](const Bus::Answer& answer) {
            int isRegistered = 0;
            if (answer) sd_bus_message_read(*answer, "v", "b", &isRegistered);
            found(isRegistered ? Finding{"StatusNotifierItem"} : embeds_() ? Finding{"XEmbed"} : missing());
        });
}

}  // namespace dravo::dbus
