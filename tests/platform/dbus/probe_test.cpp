#include <optional>
#include <set>

#include "bus_fixture.h"
#include "platform/dbus/desktop_notifications.h"
#include "platform/dbus/geoclue_location_service.h"
#include "platform/dbus/logind_wake_source.h"
#include "platform/dbus/night_lights.h"
#include "platform/dbus/portal_appearance.h"
#include "platform/dbus/tray_host.h"

namespace dravo::dbus {
namespace {

using testing::BusPeer;

/// What the services' adapters say of themselves, on a desktop that has what a test puts there.
class ProbeTest : public testing::BusTest {
protected:
    Finding findingOf(Probed& port) {
        std::optional<Finding> found;
        const auto asked = port.probe([&](const Finding& finding) { found = finding; });
        EXPECT_TRUE(runUntil([&] { return found.has_value(); }));
        return found.value_or(Finding{});
    }
    /// Owns `name`, and answers every call by `answer`; silent where that is null.
    std::unique_ptr<BusPeer> serve(const char* name, std::function<void(sd_bus_message* reply)> answer) {
        return std::make_unique<BusPeer>(loop, daemon.address(), name,
                                         [answer](std::string_view, sd_bus_message* call) {
                                             sd_bus_message* made = nullptr;
                                             if (!answer) return true;
                                             sd_bus_message_new_method_return(call, &made);
                                             const Message reply(made);
                                             answer(made);
                                             return sd_bus_send(nullptr, made, nullptr) >= 0;
                                         });
    }

    Bus bus{loop, loop, Bus::Kind::session};
    DesktopNotifications notifications{bus, loop, loop};
    PortalAppearance appearance{bus, loop};
    GeoclueLocationService location{bus, loop, "dravo"};
    LogindWakeSource wake{bus, loop, loop};
    TrayHost tray{bus, [] { return false; }};
};

TEST_F(ProbeTest, WhatIsMissingIsToldOneAfterTheOtherAndWhatIsThereByName) {
    for (auto* const port : std::initializer_list<Probed*>{&notifications, &appearance, &location, &wake, &tray}) {
        const auto finding = findingOf(*port);
        EXPECT_FALSE(finding.works());
        EXPECT_FALSE(finding.remedy.empty()) << inEnglish(finding.problem);
    }
    const auto server = serve("org.freedesktop.Notifications", [](sd_bus_message* reply) {
        sd_bus_message_append(reply, "ssss", "dunst", "knopwob", "1.9", "1.2");
    });
    const auto portal = serve("org.freedesktop.portal.Desktop", [](sd_bus_message* reply) {
        sd_bus_message_append(reply, "a{sa{sv}}", 1, "org.freedesktop.appearance", 1, "color-scheme", "u", 1);
    });
    const auto geoclue = serve("org.freedesktop.GeoClue2", nullptr);
    const auto host = serve("org.kde.StatusNotifierWatcher",
                            [](sd_bus_message* reply) { sd_bus_message_append(reply, "v", "b", 1); });
    EXPECT_EQ(findingOf(notifications), Finding{"dunst"});
    EXPECT_EQ(findingOf(appearance), Finding{"portal"});
    EXPECT_EQ(findingOf(location), Finding{"geoclue"});
    EXPECT_TRUE(geoclue->calls.empty()) << "nobody is asked where the machine is";
    EXPECT_EQ(findingOf(tray), Finding{"StatusNotifierItem"});
}

TEST_F(ProbeTest, ANightLightIsANeighbourWhileItTints) {
    int isActive = 1;
    const auto gnome = serve("org.gnome.SettingsDaemon.Color", [&](sd_bus_message* reply) {
        sd_bus_message_append(reply, "a{sv}", 2, "NightLightActive", "b", isActive, "DisabledUntilTomorrow", "b", 0);
    });
    const auto plasma = serve("org.kde.KWin.NightLight", [&](sd_bus_message* reply) {
        sd_bus_message_append(reply, "a{sv}", 2, "running", "b", 1, "inhibited", "b", 1);
    });
    NightLights lights(bus);
    for (; isActive >= 0; --isActive) {
        std::optional<std::vector<Finding>> found;
        const auto asked = lights.probe([&](const std::vector<Finding>& findings) { found = findings; });
        ASSERT_TRUE(runUntil([&] { return found.has_value(); }));
        ASSERT_EQ(found->size(), static_cast<std::size_t>(isActive)) << "one that is inhibited tints nothing";
        for (const auto& finding : *found) EXPECT_EQ(finding.problem.values.at(0).plain, "GNOME Night Light");
    }
}

}  // namespace
}  // namespace dravo::dbus
