#include <chrono>
#include <ctime>

#include "desktop/display_watch.h"
#include "desktop/panel_run_test.h"
#include "desktop/random_moments.h"

namespace dravo::testing {
namespace {

using namespace std::chrono_literals;

constexpr auto kProgram = std::filesystem::perms::owner_all;
constexpr auto kDocument = std::filesystem::perms::owner_read;

/// The start of the program anew, in its own process, that a person asks for after choosing another language.
class RelaunchTest : public PanelRunTest {
protected:
    /// Chooses German; the question whether to start again is there afterwards. REQUIRES: the panel is open.
    void chooseGerman() {
        click("Settings");
        click("Language: System Default");
        ASSERT_NO_FATAL_FAILURE(clickEntry(3, 11));
        ASSERT_TRUE(soon([&] { return reader().find("Relaunch Now").has_value(); }));
        ASSERT_NE(contentOf(home().path() / ".config/dravo/preferences.toml").find("[\"de\"]"), std::string::npos);
    }
    /// Whether the panel, opened anew, speaks German.
    bool soonSpeaksGerman() {
        return soon([&] { return openPanel(); }) && soon([&] { return reader().find("Einstellungen").has_value(); });
    }

    /// How many of the program's descriptors watch files.
    static int fileWatches(const ProcessUnderTest& run) {
        int count = 0;
        std::error_code ignored;
        for (const auto& descriptor :
             std::filesystem::directory_iterator("/proc/" + std::to_string(run.pid()) + "/fd", ignored))
            count += std::filesystem::read_symlink(descriptor.path(), ignored) == "anon_inode:inotify" ? 1 : 0;
        return count;
    }
    static void expectOnly(const Ramp& ramp, const DisplayWatch::Sights& sights) {
        for (const auto& [name, seen] : sights) {
            ASSERT_EQ(seen.size(), 1U) << name << " shows " << seen[1].ramp;
            EXPECT_EQ(seen[0].ramp, ramp) << name;
        }
    }
    static void expectFiltered(const DisplayWatch::Sights& sights) {
        for (const auto& [name, seen] : sights)
            for (const auto& sight : seen) EXPECT_TRUE(isFiltered(sight.ramp)) << name << " shows " << sight.ramp;
    }
    void quitAndExpectTheirOwn(ProcessUnderTest& run) {
        quit(run);
        EXPECT_EQ(tables(), ownTables());
        EXPECT_FALSE(std::filesystem::exists(savedTables()));
    }
};

/// A schedule that says "off" now and for hours to come.
std::string laterToday() {
    const std::time_t now = std::time(nullptr);
    const auto hour = static_cast<int>(now / 3600 % 24);
    return std::to_string((hour + 8) % 24) + ":00-" + std::to_string((hour + 9) % 24) + ":00";
}

TEST_F(RelaunchTest, KeepsTheScreenAndTheControllersStateAndSpeaksTheNewLanguage) {
    startTray(TrayHost::Kind::xembed);
    const Run run = startWithIcon({"toggle", "--start"});
    command({"schedule", laterToday()});
    command({"on"});
    command({"set", "intensity=0.4"});
    ASSERT_TRUE(soon([&] { return allShow(filtered(kWeak)); }));
    const std::string saved = contentOf(savedTables());
    const std::string state = command({"status", "--json"});
    ASSERT_TRUE(openFromNewIcon());
    ASSERT_NO_FATAL_FAILURE(chooseGerman());

    const auto watches = fileWatches(*run);
    DisplayWatch seen(server().address(), displays().enabledOutputs());
    click("Relaunch Now");
    EXPECT_TRUE(soonIsClosed());
    EXPECT_TRUE(soonSpeaksGerman()) << scene() << run->standardError();
    EXPECT_TRUE(soon([&] { return fileWatches(*run) == watches; })) << "it keeps what the old program watched";
    EXPECT_TRUE(isInCharge(*run)) << "it is another process";
    EXPECT_EQ(command({"status", "--json"}), state) << "a toggle by hand against the schedule holds, and the slider";
    expectOnly(filtered(kWeak), seen.stop());
    EXPECT_EQ(contentOf(savedTables()), saved);
    EXPECT_EQ(run->standardOutput() + run->standardError(), "") << "it is no crash";

    EXPECT_TRUE(soon([&] { return iconPlace().has_value(); }));
    pressShortcut();
    EXPECT_TRUE(soonShowTheirOwn());
    pressShortcut();
    EXPECT_TRUE(soon([&] { return allShow(filtered(kWeak)); }));
    quitAndExpectTheirOwn(*run);
}

TEST_F(RelaunchTest, KeepsAPause) {
    const Run run = startWithPanel();
    command({"pause", "1h"});
    ASSERT_TRUE(soonShowTheirOwn());
    const std::string state = command({"status", "--json"});
    ASSERT_NO_FATAL_FAILURE(chooseGerman());
    const auto own = displays().ramps();
    DisplayWatch seen(server().address(), displays().enabledOutputs());
    click("Relaunch Now");
    EXPECT_TRUE(soonIsClosed());
    EXPECT_TRUE(soonSpeaksGerman()) << scene() << run->standardError();
    EXPECT_EQ(command({"status", "--json"}), state);
    for (const auto& [name, sights] : seen.stop()) EXPECT_EQ(sights.size(), 1U) << name;
    EXPECT_EQ(displays().ramps(), own);
    command({"resume"});
    EXPECT_TRUE(soonFiltered());
    quitAndExpectTheirOwn(*run);
}

TEST_F(RelaunchTest, ThatCannotStartLeavesTheOldProgramAtWork) {
    const ProgramCopy copy;
    const Run run = startWithPanel(copy.path());
    ASSERT_NO_FATAL_FAILURE(chooseGerman());
    const std::string saved = contentOf(savedTables());
    DisplayWatch seen(server().address(), displays().enabledOutputs());
    copy.replaceBy("not a program", kDocument);
    click("Relaunch Now");
    EXPECT_TRUE(soon([&] { return run->standardError().find("cannot start again") != std::string::npos; }));
    EXPECT_TRUE(reader().find("Settings")) << "in the old language";
    EXPECT_TRUE(isInCharge(*run));
    EXPECT_EQ(contentOf(savedTables()), saved);

    copy.putBack();
    click("Relaunch Now");
    EXPECT_TRUE(soonIsClosed());
    EXPECT_TRUE(soonSpeaksGerman()) << scene() << run->standardError();
    expectOnly(filtered(kStrong), seen.stop());
    quitAndExpectTheirOwn(*run);
}

TEST_F(RelaunchTest, ThatNeverComesUpIsACrashToTheNextStart) {
    const ProgramCopy copy;
    const Run run = startWithPanel(copy.path());
    ASSERT_NO_FATAL_FAILURE(chooseGerman());
    DisplayWatch seen(server().address(), displays().enabledOutputs());
    copy.replaceBy("#!/bin/sh\nkill -KILL $$\n", kProgram);
    click("Relaunch Now");
    EXPECT_EQ(run->waitForExit(), ExitStatus::killedBy(SIGKILL));
    EXPECT_TRUE(std::filesystem::exists(savedTables()));

    const Run next = startAndSettle();
    EXPECT_TRUE(soon([&] { return next->standardOutput() == kCrashNotice; })) << next->standardOutput();
    expectFiltered(seen.stop());
    quitAndExpectTheirOwn(*next);
}

TEST_F(RelaunchTest, EndedInTheMiddleNeitherFlashesNorLeavesATint) {
    RandomMoments moments;
    for (int round = 0; round < 6 && !HasFailure(); ++round) {
        SCOPED_TRACE(round);
        const bool isPolite = round % 2 == 0;
        preferSeen();
        const Run run = startWithPanel();
        ASSERT_NO_FATAL_FAILURE(chooseGerman());
        DisplayWatch seen(server().address(), displays().enabledOutputs());
        click("Relaunch Now");
        moments.pass(120ms);
        run->signal(isPolite ? SIGTERM : SIGKILL);
        EXPECT_EQ(run->waitForExit(), ExitStatus::killedBy(isPolite ? SIGTERM : SIGKILL)) << run->standardError();
        if (isPolite) {
            EXPECT_EQ(tables(), ownTables());
            continue;
        }
        const Run next = startAndSettle();
        expectFiltered(seen.stop());
        quitAndExpectTheirOwn(*next);
    }
}

}  // namespace
}  // namespace dravo::testing
