#include "platform/dbus/desktop_notifications.h"

#include <fstream>
#include <optional>

#include "breaks/break_notifier.h"
#include "bus_fixture.h"
#include "support/private_x_server.h"
#include "support/process_under_test.h"

namespace dravo::dbus {
namespace {

using namespace std::chrono_literals;
using dravo::testing::ChildProcess;
using AuthStatus = BreakNotifier::AuthStatus;

class DesktopNotificationsTest : public testing::BusTest {
protected:
    AuthStatus refreshed() {
        bool isAnswered = false;
        const auto watch = notifier.authStatus().onNewValue([&](AuthStatus) { isAnswered = true; });
        notifier.refreshStatus();
        EXPECT_TRUE(runUntil([&] { return isAnswered; }));
        return notifier.authStatus();
    }

    Bus bus{loop, loop, Bus::Kind::session};
    DesktopNotifications service{bus, loop, loop};
    BreakNotifier notifier{service};
};

/// A real notification daemon on a real screen, which prints what it shows.
class RealDaemonTest : public DesktopNotificationsTest {
protected:
    void startDaemon() {
        const auto environment =
            home.environment({{"DISPLAY", server.address()}, {"DBUS_SESSION_BUS_ADDRESS", daemon.address()}});
        dunst.emplace("/usr/bin/dunst", ChildProcess::Options{.arguments = {"-print"}, .environment = environment});
        ASSERT_TRUE(runUntil([&] { return refreshed() == AuthStatus::granted; })) << dunst->standardError();
    }
    /// How often the daemon has shown a break.
    std::size_t breaksShown() {
        const std::string shown = dunst->standardOutput();
        std::size_t count = 0;
        for (auto at = shown.find(kTitle); at != std::string::npos; at = shown.find(kTitle, at + 1)) ++count;
        return count;
    }

    static constexpr const char* kTitle = "Time for a 20-second break";

    dravo::testing::TestHome home;
    dravo::testing::PrivateXServer server{1};
    std::optional<ChildProcess> dunst;
};

TEST_F(RealDaemonTest, ShowsEveryBreakAndOutlivesADaemonThatDies) {
    EXPECT_EQ(refreshed(), AuthStatus::unknown);
    notifier.postBreakNotification();  // to nobody

    startDaemon();
    notifier.postBreakNotification();
    notifier.postBreakNotification();
    EXPECT_TRUE(runUntil([&] { return breaksShown() == 2; })) << dunst->standardOutput();
    EXPECT_NE(dunst->standardOutput().find("Look at something 20 feet away"), std::string::npos);

    dunst->endBy(SIGKILL);
    EXPECT_TRUE(runUntil([&] { return refreshed() == AuthStatus::unknown; }));
    notifier.postBreakNotification();

    startDaemon();
    notifier.postBreakNotification();
    EXPECT_TRUE(runUntil([&] { return breaksShown() >= 1; })) << dunst->standardError();
}

TEST_F(DesktopNotificationsTest, WithoutAServerPermissionStaysUndetermined) {
    std::optional<bool> granted;
    notifier.requestAuthorization([&](bool answer) { granted = answer; });
    EXPECT_TRUE(runUntil([&] { return granted.has_value(); }));
    EXPECT_EQ(granted, false);
    EXPECT_EQ(notifier.authStatus().get(), AuthStatus::unknown);
}

TEST_F(DesktopNotificationsTest, GnomesSwitchForThisProgramIsRead) {
    const dravo::testing::TemporaryFolder settings;
    ::setenv("XDG_CONFIG_HOME", settings.path().c_str(), 1);
    ::setenv("GSETTINGS_BACKEND", "keyfile", 1);
    const testing::BusPeer shell(
        loop, daemon.address(), "org.freedesktop.Notifications", [](std::string_view member, sd_bus_message* call) {
            return member == "GetServerInformation" &&
                   sd_bus_reply_method_return(call, "ssss", "gnome-shell", "GNOME", "43", "1.2") >= 0;
        });
    EXPECT_EQ(refreshed(), AuthStatus::granted);

    std::filesystem::create_directories(settings.path() / "glib-2.0/settings");
    const auto switchTo = [&](const char* value) {
        std::ofstream(settings.path() / "glib-2.0/settings/keyfile")
            << "[org/gnome/desktop/notifications/application/dravo]\nenable=" << value << '\n';
    };
    switchTo("false");
    EXPECT_EQ(refreshed(), AuthStatus::denied);
    std::optional<bool> granted;
    notifier.requestAuthorization([&](bool answer) { granted = answer; });
    EXPECT_TRUE(runUntil([&] { return granted.has_value(); }));
    EXPECT_EQ(granted, false);
    EXPECT_EQ(notifier.authStatus().get(), AuthStatus::denied);

    switchTo("true");
    EXPECT_EQ(refreshed(), AuthStatus::granted);

    ::setenv("PATH", settings.path().c_str(), 1);  // no gsettings: nothing says that it is off
    EXPECT_EQ(refreshed(), AuthStatus::granted);
}

}  // namespace
}  // namespace dravo::dbus
