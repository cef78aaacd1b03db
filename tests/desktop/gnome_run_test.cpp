#include "desktop/filter_run_test.h"
#include "platform/dbus/bus_fixture.h"
#include "support/private_mutter.h"

namespace dravo::testing {
namespace {

/// The filtering program in a GNOME session on Wayland, as far as it can tell: Mutter drives the displays.
class GnomeRunTest : public FilterRunTest {
protected:
    GnomeRunTest() {
        session() = {{"XDG_SESSION_TYPE", "wayland"}, {"DBUS_SESSION_BUS_ADDRESS", mutter.bus().address()}};
    }
    /// Lets a run live up to a random moment: while it starts, while it fades, or when nothing happens.
    [[nodiscard]] Run startAndPass() {
        const int moment = moments.oneOf(4);
        Run run = moment == 0 ? start() : startAndSettle();
        if (moment == 0) moments.pass(60ms);
        if (moment >= 2) {
            preferOther();
            moments.pass(350ms);
        }
        return run;
    }

    PrivateMutter mutter{server()};
    RandomMoments moments;
};

TEST_F(GnomeRunTest, IsUndoneByTheNextStartAfterAKill) {
    for (int round = 0; round < RandomMoments::rounds(25) && !HasFailure(); ++round) {
        SCOPED_TRACE(round);
        EXPECT_EQ(startAndPass()->endBy(SIGKILL), ExitStatus::killedBy(SIGKILL));
        const bool wasLeft = std::filesystem::exists(savedTables());
        const Run run = startAndSettle();
        EXPECT_EQ(run->endBy(SIGUSR2), ExitStatus::exited(0)) << run->standardError();
        EXPECT_EQ(run->standardOutput(), wasLeft ? kCrashNotice : "");
        EXPECT_TRUE(soonShowTheirOwn());
        EXPECT_FALSE(std::filesystem::exists(savedTables()));
    }
}

TEST_F(GnomeRunTest, GivesTheTablesBackAtASignal) {
    for (int round = 0; round < RandomMoments::rounds(12) && !HasFailure(); ++round) {
        SCOPED_TRACE(round);
        const int signal = round % 2 == 0 ? SIGTERM : SIGINT;
        const Run run = startAndPass();
        // What a fade sends meanwhile waits before the guard's own.
        const bool hangs = round % 3 == 0 && isInCharge(*run);
        if (hangs) {
            mutter.freeze();
            preferOther();
            moments.pass(200ms);
        }
        run->signal(signal);
        if (hangs) moments.pass(200ms);
        mutter.thaw();
        EXPECT_EQ(run->waitForExit(), ExitStatus::killedBy(signal)) << run->standardError();
        EXPECT_TRUE(soonShowTheirOwn());
    }
}

TEST_F(GnomeRunTest, LetsNightLightGoOnThatAnEarlierRunHasPaused) {
    home().write(".dravo/original_gamma.json", R"({"nightLightPaused":true})");
    posix::SdEventLoop loop;
    int isDisabled = 1;
    const dbus::testing::BusPeer settings(
        loop, mutter.bus().address(), "org.gnome.SettingsDaemon.Color",
        [&](std::string_view member, sd_bus_message* call) {
            if (member == "GetAll")
                return sd_bus_reply_method_return(call, "a{sv}", 1, "DisabledUntilTomorrow", "b", isDisabled) >= 0;
            return member == "Set" && sd_bus_message_skip(call, "ss") >= 0 &&
                   sd_bus_message_read(call, "v", "b", &isDisabled) >= 0;
        });
    const Run run = start();
    EXPECT_TRUE(runUntil(loop, [&] { return isDisabled == 0; }));
    EXPECT_EQ(run->endBy(SIGUSR2), ExitStatus::exited(0));
}

}  // namespace
}  // namespace dravo::testing
