#include <nlohmann/json.hpp>

#include "desktop/filter_run_test.h"
#include "support/private_bus.h"

namespace dravo::testing {
namespace {

using Json = nlohmann::json;

class DoctorTest : public FilterRunTest {
protected:
    using Environment = std::map<std::string, std::string>;

    /// What the command tells, which ends in time.
    Json examine(const Environment& environment) {
        ProcessUnderTest doctor(home(), {"doctor", "--json"}, environment);
        EXPECT_EQ(doctor.waitForExit(), ExitStatus::exited(1)) << doctor.standardError();
        const Json told = Json::parse(doctor.standardOutput(), nullptr, false);
        EXPECT_EQ(told["works"], false);
        return told["ports"];
    }
    static Json portOf(const Json& ports, const char* name) {
        for (const auto& port : ports)
            if (port["port"] == name) return port;
        return {};
    }
};

TEST_F(DoctorTest, WithoutADesktopItSaysThatEverythingIsMissing) {
    const Json ports = examine({});
    EXPECT_EQ(portOf(ports, "displays")["problem"]["sentence"], "no X server: DISPLAY is not set");
    for (const char* const name : {"displays", "shortcut", "tray", "panel", "notifications", "control"})
        EXPECT_EQ(portOf(ports, name)["works"], false) << name;
    for (const char* const name : {"login", "updates", "pictures"})
        EXPECT_EQ(portOf(ports, name)["works"], true) << name;
}

TEST_F(DoctorTest, OnAServerItSaysWhatServesEachDisplayAndTouchesNone) {
    const Json ports = examine(onServer());
    EXPECT_EQ(portOf(ports, "displays")["adapter"], "x11");
    EXPECT_EQ(portOf(ports, "display")["subject"], "DUMMY0");
    EXPECT_EQ(portOf(ports, "shortcut")["works"], true);
    EXPECT_EQ(tables(), ownTables());
}

TEST_F(DoctorTest, ARunningProgramTellsOfItself) {
    PrivateBus bus;
    auto environment = onServer();
    environment["DBUS_SESSION_BUS_ADDRESS"] = bus.address();
    ProcessUnderTest run(home(), {"--headless"}, environment);
    ASSERT_TRUE(waitUntil([&] { return runProgram(home(), {"status"}, environment).status.code == 0; }));
    // From a shell without the display.
    environment.erase("DISPLAY");
    Json ports = examine(environment);
    EXPECT_EQ(portOf(ports, "displays")["adapter"], "x11");
    EXPECT_EQ(portOf(ports, "control")["works"], true);
    EXPECT_EQ(portOf(ports, "panel")["problem"]["sentence"], "the running Dravo has no panel");
    EXPECT_EQ(ports.back()["port"], "pictures");

    run.signal(SIGSTOP);
    ports = examine(environment);
    run.signal(SIGCONT);
    EXPECT_EQ(portOf(ports, "control")["problem"]["sentence"], "Dravo is running and does not answer");
    quit(run);
}

}  // namespace
}  // namespace dravo::testing
