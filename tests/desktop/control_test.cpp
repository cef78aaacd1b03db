#include <iterator>
#include <nlohmann/json.hpp>
#include <sstream>

#include "desktop/filter_run_test.h"
#include "support/private_bus.h"

namespace dravo::testing {
namespace {

/// The running program, controlled by commands over a session bus of the test's own.
class ControlTest : public FilterRunTest {
protected:
    ControlTest() { session()["DBUS_SESSION_BUS_ADDRESS"] = bus_.address(); }

    /// The program, once it filters and can be asked.
    [[nodiscard]] Run startToControl() {
        Run run = start();
        EXPECT_TRUE(soon([&] { return allShow(filtered(intensity())) && canBeAsked(); })) << run->standardError();
        return run;
    }
    bool canBeAsked() { return start({"status"})->waitForExit() == ExitStatus::exited(0); }

    PrivateBus bus_;
};

TEST_F(ControlTest, SwitchesAndAdjustsWhatTheDisplaysShow) {
    const Run run = startToControl();
    EXPECT_EQ(command({"toggle"}), "");
    EXPECT_TRUE(soonShowTheirOwn());
    EXPECT_EQ(command({"pause"}, 4), "dravo pause: the filter is off; there is nothing to pause\n");
    command({"on"});
    EXPECT_TRUE(soonFiltered());
    const FilterPreset& evening = FilterPreset::evening();
    command({"preset", evening.id});
    EXPECT_TRUE(soonShow(shown(evening)));
    command({"set", "intensity=0.6", "dimming=0.1", "black-point=0.05", "contrast=-0.25"});
    EXPECT_TRUE(soonShow(shown(evening, 0.6, 0.1, 0.05, -0.25)));
    EXPECT_NE(command({"preset", "none"}, 2).find("none"), std::string::npos);
    command({"revert"});
    EXPECT_TRUE(soonShow(shown(evening)));
}

TEST_F(ControlTest, TheDesktopEntrysActionsStartWhatDoesNotRun) {
    std::vector<std::vector<std::string>> actions;
    std::istringstream lines(contentOf(DRAVO_DESKTOP_ENTRY));
    for (std::string line; std::getline(lines, line);) {
        std::istringstream words(line);
        std::vector<std::string> all{std::istream_iterator<std::string>(words), {}};
        if (!all.empty() && all[0] == "Exec=dravo" && all.size() > 1) actions.emplace_back(all.begin() + 1, all.end());
    }
    ASSERT_EQ(actions.size(), 2U);
    ASSERT_EQ(actions[0][0], "toggle");

    prefer(kStrong, false);
    const Run toggled = start(actions[0]);
    EXPECT_TRUE(soonFiltered()) << "it was off: " << toggled->standardError();
    ASSERT_TRUE(soon([&] { return canBeAsked(); }));
    EXPECT_EQ(command(actions[0]), "");
    EXPECT_TRUE(soonShowTheirOwn());
    EXPECT_TRUE(isInCharge(*toggled));
    command({"quit"});
    EXPECT_EQ(toggled->waitForExit(), ExitStatus::exited(0)) << toggled->standardError();

    prefer(kStrong);
    const Run paused = start(actions[1]);
    ASSERT_TRUE(soon([&] { return canBeAsked() && command({"status"}).find("paused until") != std::string::npos; }))
        << paused->standardError();
    EXPECT_TRUE(soonShowTheirOwn());
    command({"resume"});
    EXPECT_TRUE(soonFiltered());
    quit(*paused);
}

TEST_F(ControlTest, FollowsUntilTheProgramEnds) {
    const Run run = startToControl();
    const Run follower = start({"status", "--follow", "--json"});
    const auto lines = [&] {
        std::vector<nlohmann::json> result;
        std::istringstream text(follower->standardOutput());
        for (std::string line; std::getline(text, line);) result.push_back(nlohmann::json::parse(line, nullptr, false));
        return result;
    };
    ASSERT_TRUE(soon([&] { return lines().size() == 1; }));
    EXPECT_EQ(lines().front()["isEnabled"], true);
    command({"off"});
    ASSERT_TRUE(soon([&] { return lines().size() == 2; }));
    EXPECT_EQ(lines().back()["isEnabled"], false);
    command({"set", "dimming=0.5"});
    EXPECT_TRUE(soon([&] { return lines().back()["dimming"] == 0.5; }));

    EXPECT_EQ(command({"quit"}), "");
    EXPECT_EQ(run->exitStatus(), ExitStatus::exited(0)) << "it has ended when the command has";
    EXPECT_EQ(follower->waitForExit(), ExitStatus::exited(0)) << follower->standardError();
    EXPECT_EQ(tables(), ownTables());
    EXPECT_EQ(command({"status"}, 5), "dravo status: Dravo is not running\n");
}

TEST_F(ControlTest, OnlyWhoWantsThePanelHearsThatThereIsNone) {
    const Run first = startToControl();
    EXPECT_EQ(command({"panel"}, 4), "dravo panel: the running Dravo has no panel\n");
    EXPECT_EQ(command({}, 4), "dravo: the running Dravo has no panel\n");
    EXPECT_EQ(command({"--headless"}), "Dravo is running already.\n");
    EXPECT_TRUE(first->isRunning());
    EXPECT_TRUE(allShow(filtered(kStrong)));
}

TEST_F(ControlTest, ALostSessionBusDoesNoHarm) {
    const Run run = startToControl();
    const Run follower = start({"status", "--follow"});
    ASSERT_TRUE(soon([&] { return !follower->standardOutput().empty(); }));
    bus_.kill();
    EXPECT_EQ(follower->waitForExit(), ExitStatus::exited(0)) << follower->standardError();
    const std::string toggled = command({"toggle"}, 5);
    EXPECT_TRUE(toggled.starts_with("dravo toggle: ")) << toggled;
    EXPECT_EQ(std::ranges::count(toggled, '\n'), 1) << toggled;

    preferOther();
    EXPECT_TRUE(soonFiltered()) << "it filters on";
    EXPECT_EQ(command({"restore"}), "The running Dravo has switched the filter off.\n");
    quit(*run);
}

TEST_F(ControlTest, RestoreWaitsForARunThatCouldNotMakeItsLock) {
    const auto isInTheWay = [](const std::filesystem::path& folder) {
        std::filesystem::create_directories(folder / "lock");
    };
    isInTheWay(home().path() / ".dravo");
    isInTheWay(home().runtimeFolder() / "dravo");
    const Run run = startToControl();
    EXPECT_EQ(command({"restore"}), "The running Dravo has switched the filter off.\n");
    EXPECT_EQ(tables(), ownTables());

    command({"on"});
    EXPECT_TRUE(soonFiltered());
    server().freeze();
    EXPECT_EQ(command({"restore"}, 4), "dravo restore: Dravo is running and does not answer\n");
    server().thaw();
    EXPECT_TRUE(soonShowTheirOwn()) << "it was only late";
}

TEST_F(ControlTest, WithoutASessionBusItFiltersAndSaysWhatIsMissing) {
    session() = onServer();
    const Run run = start();
    EXPECT_TRUE(soonFiltered()) << run->standardError();
    EXPECT_TRUE(soon([&] { return std::ranges::count(run->standardError(), '\n') == 1; })) << run->standardError();
    const std::string said = command({"toggle"}, 5);
    EXPECT_EQ(std::ranges::count(said, '\n'), 1) << said;
    command({"quit"});
    EXPECT_EQ(run->exitStatus(), ExitStatus::exited(0)) << run->standardError();
    EXPECT_EQ(tables(), ownTables());
}

TEST_F(ControlTest, WorksInAWaylandSessionWithoutTouchingTheDisplaysOfItsXServer) {
    session()["XDG_SESSION_TYPE"] = "wayland";  // its X server is one that the compositor brought along
    home().write(".dravo/original_gamma.json", "of another session");
    const Run run = start();
    ASSERT_TRUE(soon([this] { return canBeAsked(); })) << run->standardError();
    constexpr const char* kReason = "this Wayland session offers no way to tint the screen";
    EXPECT_NE(command({"status"}).find(kReason), std::string::npos);
    EXPECT_NE(command({"displays"}).find(kReason), std::string::npos);
    command({"off"});
    command({"on"});
    EXPECT_NE(command({"status", "--json"}).find("\"isEnabled\":true"), std::string::npos);
    EXPECT_EQ(command({"restore"}), "The running Dravo has switched the filter off.\n");
    EXPECT_EQ(run->endBy(SIGUSR2), ExitStatus::exited(0));
    EXPECT_NE(command({"restore"}).find("Nothing to give back"), std::string::npos);
    EXPECT_EQ(run->standardOutput() + run->standardError(),
              "dravo: the shortcut Control Shift E does not work: in this Wayland session no key can be reserved for a "
              "program\n");
    EXPECT_EQ(contentOf(savedTables()), "of another session");
    EXPECT_EQ(tables(), ownTables());
}

}  // namespace
}  // namespace dravo::testing
