#include <numeric>

#include "support/desktop_test.h"
#include "support/private_bus.h"
#include "support/process_under_test.h"

namespace dravo::testing {
namespace {

class PrivateDesktopTest : public DesktopTest {};

TEST_F(PrivateDesktopTest, KeepsEachDisplaysTableBitForBitAlsoWhileItIsOff) {
    ASSERT_EQ(displays().enabledOutputs(), (std::vector<std::string>{"DUMMY0", "DUMMY1", "DUMMY2"}));
    for (const auto& [name, ramp] : displays().ramps()) {
        EXPECT_EQ(ramp.green[128], 128 * 256) << name << " does not begin neutral";
    }
    for (unsigned i = 0; i < 3; ++i) displays().setRamp("DUMMY" + std::to_string(i), calibrationRamp(i));

    displays().disable("DUMMY1");
    XGamma second(server().address());
    EXPECT_EQ(second.ramps().size(), 2U);
    EXPECT_EQ(second.ramp("DUMMY1"), calibrationRamp(1));

    displays().enable("DUMMY1", 1024);
    for (unsigned i = 0; i < 3; ++i) EXPECT_EQ(displays().ramp("DUMMY" + std::to_string(i)), calibrationRamp(i));
}

TEST_F(PrivateDesktopTest, TakesAMonitorsEdidAndAProfileAndLosesThemAgain) {
    const auto edid = edidBlock(4711);
    EXPECT_EQ(std::accumulate(edid.begin(), edid.end(), 0) % 256, 0) << "not a valid EDID";
    displays().setEdid("DUMMY0", edid);
    displays().setEdid("DUMMY0", {});
    EXPECT_THROW(displays().setEdid("DUMMY0", {}), std::runtime_error) << "there was none left to take away";
    displays().setRootProperty("_ICC_PROFILE", edid);
    displays().setRootProperty("_ICC_PROFILE", {});
}

TEST_F(PrivateDesktopTest, DiesWithoutLeavingItsSocketBehind) {
    server().kill();
    EXPECT_THROW(displays().ramps(), std::runtime_error);
    EXPECT_THROW(XGamma{server().address()}, std::runtime_error);
}

TEST(ChildProcessTest, TellsHowAProgramEndedAndWhatItSaid) {
    ChildProcess talker("/bin/sh", {.arguments = {"-c", "echo out; echo err >&2; exit 3"}});
    EXPECT_EQ(talker.waitForExit(), ExitStatus::exited(3));
    EXPECT_EQ(talker.standardOutput(), "out\n");
    EXPECT_EQ(talker.standardError(), "err\n");

    ChildProcess sleeper("/bin/sleep", {.arguments = {"60"}});
    EXPECT_TRUE(sleeper.isRunning());
    sleeper.signal(SIGTERM);
    EXPECT_EQ(sleeper.waitForExit(), ExitStatus::killedBy(SIGTERM));

    EXPECT_THROW(ChildProcess("/no/such/program", {}), std::system_error);
}

TEST(PrivateBusTest, AnswersAtItsOwnAddress) {
    if (!PrivateBus::isInstalled()) GTEST_SKIP() << "dbus-daemon is not installed";
    PrivateBus bus;
    ChildProcess ask("/usr/bin/dbus-send",
                     {.arguments = {"--bus=" + bus.address(), "--print-reply", "--dest=org.freedesktop.DBus", "/",
                                    "org.freedesktop.DBus.ListActivatableNames"}});
    EXPECT_EQ(ask.waitForExit(), ExitStatus::exited(0)) << ask.standardError();
    EXPECT_EQ(ask.standardOutput().find("org.freedesktop.Notifications"), std::string::npos);
    bus.kill();
}

}  // namespace
}  // namespace dravo::testing
