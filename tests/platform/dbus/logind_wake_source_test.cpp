#include "platform/dbus/logind_wake_source.h"

#include <algorithm>
#include <optional>

#include "bus_fixture.h"
#include "bus_peer.h"

namespace dravo::dbus {
namespace {

using namespace std::chrono_literals;
using testing::BusPeer;

constexpr const char* kLogind = "org.freedesktop.login1";
constexpr const char* kManagerPath = "/org/freedesktop/login1";
constexpr const char* kSessionPath = "/org/freedesktop/login1/session/_32";

class LogindWakeTest : public testing::BusTest {
protected:
    void startLogind() {
        logind.emplace(loop.event(), daemon->address(), kLogind, [](std::string_view member, sd_bus_message* call) {
            return member == "GetSession" && sd_bus_reply_method_return(call, "o", kSessionPath) >= 0;
        });
    }
    void announceSleep(bool begins) {
        sd_bus_emit_signal(logind->bus(), kManagerPath, "org.freedesktop.login1.Manager", "PrepareForSleep", "b",
                           static_cast<int>(begins));
    }
    void announceSession(const char* key, bool value) {
        sd_bus_emit_signal(logind->bus(), kSessionPath, "org.freedesktop.DBus.Properties", "PropertiesChanged",
                           "sa{sv}as", "org.freedesktop.login1.Session", 2, "IdleHint", "b", 1, key, "b",
                           static_cast<int>(value), 0);
    }

    std::optional<BusPeer> logind;
    Bus bus{loop, loop, Bus::Kind::system};
    LogindWakeSource source{bus, loop, loop};
    int wakes = 0;
};

TEST_F(LogindWakeTest, WakesWhenSleepEndsAndWhenTheSessionComesToTheFront) {
    startLogind();
    const auto subscription = source.onWake([this] { ++wakes; });
    ASSERT_TRUE(runUntil([&] { return !logind->calls.empty(); }));
    settle(bus);
    announceSleep(true);
    announceSession("Active", false);
    announceSession("LockedHint", true);
    settle(bus);
    EXPECT_EQ(wakes, 0);
    announceSleep(false);
    EXPECT_TRUE(runUntil([&] { return wakes == 1; }));
    announceSession("Active", true);
    EXPECT_TRUE(runUntil([&] { return wakes == 2; }));
}

TEST_F(LogindWakeTest, HearsALoginManagerThatStartsLaterOrAgain) {
    const auto subscription = source.onWake([this] { ++wakes; });
    ASSERT_TRUE(runUntil([&] { return bus.handle() != nullptr; }));
    settle(bus);
    for (int round = 1; round <= 2; ++round) {
        logind.reset();
        startLogind();
        announceSleep(false);
        EXPECT_TRUE(runUntil([&] { return wakes == round; }));
    }
}

TEST_F(LogindWakeTest, WithoutABusOrAfterItsEndItNeverCallsAndDoesNoHarm) {
    const auto subscription = source.onWake([this] { ++wakes; });
    ASSERT_TRUE(runUntil([&] { return bus.handle() != nullptr; }));
    settle(bus);
    bool isLost = false;
    const auto lost = bus.onLost([&] { isLost = true; });
    daemon->kill();
    EXPECT_TRUE(runUntil([&] { return isLost; }));

    ::setenv("DBUS_SYSTEM_BUS_ADDRESS", "unix:path=/nonexistent/bus", 1);
    Bus none(loop, loop, Bus::Kind::system);
    LogindWakeSource deaf(none, loop, loop);
    const auto other = deaf.onWake([this] { ++wakes; });
    runUntil([] { return false; }, 20ms);
    EXPECT_EQ(wakes, 0);
}

}  // namespace
}  // namespace dravo::dbus
