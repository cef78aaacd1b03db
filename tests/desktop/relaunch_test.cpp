#include <ctime>
#include <fstream>

#include "desktop/display_watch.h"
#include "desktop/panel_run_test.h"

namespace dravo::testing {
namespace {

namespace fs = std::filesystem;

/// The program installed once more, so that its file can be replaced.
class ProgramCopy {
public:
    ProgramCopy() {
        const fs::path built = programUnderTest().parent_path();
        fs::create_directory(folder_ / "bin");
        fs::create_symlink(built / "dravo-desktop.so", folder_ / "bin/dravo-desktop.so");
        fs::create_symlink(built.parent_path() / "share", folder_ / "share");
        fs::copy_file(programUnderTest(), path());
    }
    [[nodiscard]] fs::path path() const { return folder_ / "bin/dravo"; }
    /// Takes the file away and puts another in its place.
    void replaceBy(const char* content, fs::perms permissions) const {
        fs::remove(path());
        std::ofstream(path()) << content;
        fs::permissions(path(), permissions);
    }
    /// The program itself again.
    void putBack() const { fs::copy_file(programUnderTest(), path(), fs::copy_options::overwrite_existing); }

private:
    TemporaryFolder folder_;
};

/// The start of the program anew, in its own process, that a person asks for after choosing another language.
class RelaunchTest : public PanelRunTest {
protected:
    /// Chooses German; the question whether to start again is there afterwards. REQUIRES: the panel is open.
    void chooseGerman() {
        click("Settings");
        click("Language: System Default");
        ASSERT_NO_FATAL_FAILURE(clickEntry(3, 11));
        ASSERT_TRUE(soonHears("Relaunch Now"));
        ASSERT_NE(contentOf(home().preferences()).find("[\"de\"]"), std::string::npos);
    }
    /// Whether the panel, opened anew, speaks German.
    bool soonSpeaksGerman() {
        return soon([&] { return openPanel(); }) && soonHears("Einstellungen");
    }

    /// How many of the program's descriptors watch files.
    static int fileWatches(const ProcessUnderTest& run) {
        int count = 0;
        std::error_code ignored;
        for (const auto& descriptor : fs::directory_iterator("/proc/" + std::to_string(run.pid()) + "/fd", ignored))
            count += fs::read_symlink(descriptor.path(), ignored) == "anon_inode:inotify" ? 1 : 0;
        return count;
    }
    static void expectOnly(const RampLevels& ramp, const DisplayWatch::Sights& sights) {
        for (const auto& [name, seen] : sights) {
            ASSERT_EQ(seen.size(), 1U) << name << " shows " << seen[1].ramp;
            EXPECT_EQ(seen[0].ramp, ramp) << name;
        }
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
    ASSERT_TRUE(soonShow(filtered(kWeak)));
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
    EXPECT_TRUE(soonShow(filtered(kWeak)));
    quit(*run);
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
    quit(*run);
}

TEST_F(RelaunchTest, ThatCannotStartLeavesTheOldProgramAtWork) {
    const ProgramCopy copy;
    const Run run = startWithPanel(copy.path());
    ASSERT_NO_FATAL_FAILURE(chooseGerman());
    const std::string saved = contentOf(savedTables());
    DisplayWatch seen(server().address(), displays().enabledOutputs());
    copy.replaceBy("not a program", fs::perms::owner_read);
    click("Relaunch Now");
    EXPECT_TRUE(soon([&] { return run->standardError().find("cannot start again") != std::string::npos; }));
    EXPECT_TRUE(reader_.find("Settings")) << "in the old language";
    EXPECT_TRUE(isInCharge(*run));
    EXPECT_EQ(contentOf(savedTables()), saved);

    copy.putBack();
    click("Relaunch Now");
    EXPECT_TRUE(soonIsClosed());
    EXPECT_TRUE(soonSpeaksGerman()) << scene() << run->standardError();
    expectOnly(filtered(kStrong), seen.stop());
    quit(*run);
}

TEST_F(RelaunchTest, ThatNeverComesUpIsACrashToTheNextStart) {
    const ProgramCopy copy;
    const Run run = startWithPanel(copy.path());
    ASSERT_NO_FATAL_FAILURE(chooseGerman());
    DisplayWatch seen(server().address(), displays().enabledOutputs());
    copy.replaceBy("#!/bin/sh\nkill -KILL $$\n", fs::perms::owner_all);
    click("Relaunch Now");
    EXPECT_EQ(run->waitForExit(), ExitStatus::killedBy(SIGKILL));
    EXPECT_TRUE(fs::exists(savedTables()));

    const Run next = startAndSettle();
    EXPECT_TRUE(soon([&] { return next->standardOutput() == kCrashNotice; })) << next->standardOutput();
    expectFiltered(seen.stop());
    quit(*next);
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
        const int signal = isPolite ? SIGTERM : SIGKILL;
        EXPECT_EQ(run->endBy(signal), ExitStatus::killedBy(signal)) << run->standardError();
        if (isPolite) {
            EXPECT_EQ(tables(), ownTables());
            continue;
        }
        const Run next = startAndSettle();
        expectFiltered(seen.stop());
        quit(*next);
    }
}

TEST_F(RelaunchTest, InTheMiddleOfAFadeGoesOnAsThePersonWantsItAndLosesNoTable) {
    RandomMoments moments;
    for (int round = 0; round < RandomMoments::rounds(6) && !HasFailure(); ++round) {
        SCOPED_TRACE(round);
        const bool goesOff = round % 2 == 0;
        preferSeen();
        const Run run = startWithPanel();
        ASSERT_NO_FATAL_FAILURE(chooseGerman());
        if (!goesOff) pressShortcut();
        ASSERT_TRUE(goesOff || soonShowTheirOwn());
        const auto relaunchNow = reader_.find("Relaunch Now").value();
        DisplayWatch watch(server().address(), displays().enabledOutputs());
        pressShortcut();
        moments.pass(500ms);
        try {
            reader_.act(relaunchNow);  // a click could come while rows move
        } catch (const std::runtime_error&) {
            // It may be another program before it has answered.
        }
        EXPECT_TRUE(soonIsClosed());
        EXPECT_TRUE(soonSpeaksGerman()) << scene() << run->standardError();
        EXPECT_TRUE(goesOff ? soonShowTheirOwn() : soonFiltered());
        for (const auto& [name, seen] : watch.stop())
            for (const auto& sight : seen)
                EXPECT_TRUE(isBetween(sight.ramp, ownTables().at(name), filtered(kStrong))) << name << sight.ramp;
        quit(*run);
    }
}

}  // namespace
}  // namespace dravo::testing
