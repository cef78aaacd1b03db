#include "platform/dbus/logind_wake_source.h"

#include <optional>

#include "bus_fixture.h"

namespace dravo::dbus {
namespace {

constexpr const char* kSessionPath = "/org/freedesktop/login1/session/_32";

class LogindWakeTest : public testing::BusTest {
protected:
    void startLogind() {
        logind.emplace(loop, daemon.address(), "org.freedesktop.login1",
                       [](std::string_view member, sd_bus_message* call) {
                           return member == "GetSession" && sd_bus_reply_method_return(call, "o", kSessionPath) >= 0;
                       });
    }
    void announceSleep(bool begins) {
        sd_bus_emit_signal(logind->bus(), "/org/freedesktop/login1", "org.freedesktop.login1.Manager",
                           "PrepareForSleep", "b", static_cast<int>(begins));
    }
    void announceSession(const char* key, bool value) {
        sd_bus_emit_signal(logind->bus(), kSessionPath, "org.freedesktop.DBus.Properties", "PropertiesChanged",
                           "sa{sv}as", "org.freedesktop.login1.Session", 2, "IdleHint", "b", 1, key, "b",
                           static_cast<int>(value), 0);
    }

    std::optional<testing::BusPeer> logind;
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

}  // namespace
}  // namespace dravo::dbus
