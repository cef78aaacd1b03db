#include <nlohmann/json.hpp>

#include "desktop/filter_run_test.h"
#include "support/private_bus.h"

namespace dravo::testing {
namespace {

/// The running program, controlled by commands over a session bus of the test's own.
class ControlTest : public FilterRunTest {
protected:
    void SetUp() override {
        FilterRunTest::SetUp();
        if (IsSkipped() || HasFatalFailure()) return;
        if (PrivateBus::isInstalled()) {
            bus_.emplace();
            return;
        }
        if (std::getenv("DRAVO_REQUIRE_DESKTOP")) FAIL() << "dbus-daemon is not installed";
        GTEST_SKIP() << "dbus-daemon is not installed";
    }

    [[nodiscard]] Run start(std::vector<std::string> arguments) {
        auto environment = onServer();
        environment["DBUS_SESSION_BUS_ADDRESS"] = bus_->address();
        return std::make_unique<ProcessUnderTest>(home(), std::move(arguments), environment);
    }
    /// The program, once it filters and can be asked.
    [[nodiscard]] Run startToControl() {
        Run run = start({"--headless"});
        EXPECT_TRUE(waitUntil([&] { return allShow(filtered(intensity())) && canBeAsked(); })) << run->standardError();
        return run;
    }
    bool canBeAsked() { return start({"status"})->waitForExit() == ExitStatus::exited(0); }

    /// What a command printed on both outputs.
    std::string command(std::vector<std::string> words, int code = 0) {
        const Run run = start(std::move(words));
        EXPECT_EQ(run->waitForExit(), ExitStatus::exited(code)) << run->standardError();
        return run->standardOutput() + run->standardError();
    }
    nlohmann::json status() { return nlohmann::json::parse(command({"status", "--json"}), nullptr, false); }
    bool soonAllShow(const Ramp& ramp) {
        return waitUntil([&] { return allShow(ramp); });
    }
    bool soonShowTheirOwn() {
        return waitUntil([this] { return tables() == ownTables(); });
    }
    static Ramp shown(const FilterPreset& preset, double intensity, double dimming, double blackPoint,
                      double contrast) {
        const auto levels = toLevels(computeTable(preset, intensity, dimming, blackPoint, contrast), 256);
        return {levels.red, levels.green, levels.blue};
    }
    static Ramp shown(const FilterPreset& preset) {
        return shown(preset, preset.intensity, preset.dimming, preset.blackPoint, preset.contrast);
    }
    PrivateBus& bus() { return *bus_; }

private:
    std::optional<PrivateBus> bus_;
};

TEST_F(ControlTest, SwitchesAndAdjustsWhatTheDisplaysShow) {
    const Run run = startToControl();
    EXPECT_EQ(command({"toggle"}), "");
    EXPECT_TRUE(soonShowTheirOwn());
    EXPECT_EQ(command({"pause"}, 4), "dravo pause: the filter is off; there is nothing to pause\n");
    command({"on"});
    EXPECT_TRUE(soonAllShow(filtered(kStrong)));
    command({"off"});
    EXPECT_TRUE(soonShowTheirOwn());
    EXPECT_EQ(status()["isEnabled"], false);
    command({"toggle"});
    EXPECT_TRUE(soonAllShow(filtered(kStrong)));

    command({"pause", "15m"});
    EXPECT_TRUE(soonShowTheirOwn());
    EXPECT_TRUE(status()["pausedUntil"].is_string());
    command({"resume"});
    EXPECT_TRUE(soonAllShow(filtered(kStrong)));
    EXPECT_TRUE(status()["pausedUntil"].is_null());

    const FilterPreset& evening = FilterPreset::evening();
    command({"preset", evening.id});
    EXPECT_TRUE(soonAllShow(shown(evening)));
    EXPECT_EQ(command({"preset"}), evening.id + "\n");
    command({"set", "intensity=0.6", "dimming=0.1", "black-point=0.05", "contrast=-0.25"});
    EXPECT_TRUE(soonAllShow(shown(evening, 0.6, 0.1, 0.05, -0.25)));
    EXPECT_EQ(status()["isEdited"], true);
    EXPECT_NE(command({"set", "dimming=0.9"}, 2).find("dimming lies from 0 to 0.8"), std::string::npos);
    EXPECT_NE(command({"preset", "none"}, 2).find("none"), std::string::npos);
    EXPECT_EQ(status()["dimming"], 0.1);
}

TEST_F(ControlTest, KeepsScheduleLocationAndBreaks) {
    const Run run = startToControl();
    command({"location", "-33.9", "18.4"});
    EXPECT_EQ(nlohmann::json::parse(command({"location", "--json"})),
              nlohmann::json::parse(R"({"source":"typed","status":"available","latitude":-33.9,"longitude":18.4})"));
    command({"schedule", "sun"});
    EXPECT_EQ(status()["schedule"]["mode"], "sunsetToSunrise");
    EXPECT_TRUE(status()["nextChange"].is_object());
    command({"schedule", "20:00-07:05"});
    EXPECT_EQ(command({"schedule"}), "20:00-07:05\n");
    command({"schedule", "off"});
    EXPECT_EQ(status()["schedule"],
              nlohmann::json::parse(R"({"enabled":false,"mode":"customTimes","startMinutes":1200,"endMinutes":425})"));
    command({"break", "45"});
    EXPECT_EQ(status()["breaks"]["intervalMinutes"], 45);
    command({"break", "done"});
    command({"break", "off"});
    EXPECT_EQ(status()["breaks"]["enabled"], false);

    // What was asked for is kept for the next run.
    EXPECT_EQ(command({"quit"}), "");
    EXPECT_EQ(run->exitStatus(), ExitStatus::exited(0)) << "it has ended when the command has";
    EXPECT_EQ(tables(), ownTables());
    const std::string kept = contentOf(home().path() / ".config/dravo/preferences.toml");
    for (const char* line : {"locationSource = \"typed\"", "lastLatitude = -33.9", "scheduleEndMinutes = 425"}) {
        EXPECT_NE(kept.find(line), std::string::npos) << kept;
    }
}

TEST_F(ControlTest, ImportsIntoTheRunningProgram) {
    const Run run = startToControl();
    FilterPreset mine = FilterPreset::evening();
    mine.id = "MINE";
    mine.redFactor = 0.5;
    nlohmann::json own;
    for (auto& preset : nlohmann::json::parse(command({"presets", "--json"}))) {
        if (preset["id"] == FilterPreset::evening().id) own = preset;
    }
    own["id"] = mine.id;
    own["redFactor"] = mine.redFactor;
    home().write("mine.json", own.dump());
    EXPECT_EQ(command({"import", (home().path() / "mine.json").string()}), "Imported 1 preset: MINE\n");
    command({"preset", "MINE"});
    EXPECT_TRUE(soonAllShow(shown(mine)));

    mine.redFactor = 0.25;
    own["redFactor"] = mine.redFactor;
    home().write("mine.json", own.dump());
    command({"import", (home().path() / "mine.json").string()});
    EXPECT_TRUE(soonAllShow(shown(mine))) << "the selected preset was replaced";
    EXPECT_EQ(nlohmann::json::parse(command({"export", "MINE"}))[0]["redFactor"], 0.25);
    EXPECT_NE(command({"export", "evening"}, 2).find("evening"), std::string::npos);
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
    ASSERT_TRUE(waitUntil([&] { return lines().size() == 1; }));
    EXPECT_EQ(lines().front()["isEnabled"], true);
    command({"off"});
    ASSERT_TRUE(waitUntil([&] { return lines().size() == 2; }));
    EXPECT_EQ(lines().back()["isEnabled"], false);
    command({"set", "dimming=0.5"});
    EXPECT_TRUE(waitUntil([&] { return lines().back()["dimming"] == 0.5; }));

    command({"quit"});
    EXPECT_EQ(run->waitForExit(), ExitStatus::exited(0)) << run->standardError();
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
    ASSERT_TRUE(waitUntil([&] { return !follower->standardOutput().empty(); }));
    bus().kill();
    EXPECT_EQ(follower->waitForExit(), ExitStatus::exited(0)) << follower->standardError();
    const std::string toggled = command({"toggle"}, 5);
    EXPECT_TRUE(toggled.starts_with("dravo toggle: ")) << toggled;
    EXPECT_EQ(std::ranges::count(toggled, '\n'), 1) << toggled;

    preferOther();
    EXPECT_TRUE(soonAllShow(filtered(intensity()))) << "it filters on";
    EXPECT_EQ(command({"restore"}), "The running Dravo has switched the filter off.\n");
    EXPECT_EQ(tables(), ownTables());
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
    EXPECT_TRUE(soonAllShow(filtered(kStrong)));
    server().freeze();
    EXPECT_EQ(command({"restore"}, 4), "dravo restore: Dravo is running and does not answer\n");
    server().thaw();
    EXPECT_TRUE(soonShowTheirOwn()) << "it was only late";
}

TEST_F(ControlTest, WithoutASessionBusItFiltersAndSaysWhatIsMissing) {
    ProcessUnderTest run(home(), {"--headless"}, onServer());
    EXPECT_TRUE(soonAllShow(filtered(kStrong))) << run.standardError();
    EXPECT_TRUE(waitUntil([&] { return std::ranges::count(run.standardError(), '\n') == 1; })) << run.standardError();
    ProcessUnderTest toggle(home(), {"toggle"}, onServer());
    EXPECT_EQ(toggle.waitForExit(), ExitStatus::exited(5));
    EXPECT_EQ(std::ranges::count(toggle.standardError(), '\n'), 1) << toggle.standardError();

    ProcessUnderTest quit(home(), {"quit"}, onServer());
    EXPECT_EQ(quit.waitForExit(), ExitStatus::exited(0)) << quit.standardError();
    EXPECT_EQ(run.exitStatus(), ExitStatus::exited(0)) << run.standardError();
    EXPECT_EQ(tables(), ownTables());
}

}  // namespace
}  // namespace dravo::testing
