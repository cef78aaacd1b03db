// The real program on a compositor that draws each display by a colour profile, and keeps what it was told.
#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "desktop/random_moments.h"
#include "display/gamma_table.h"
#include "platform/posix/instance_lock.h"
#include "support/plasma_compositor.h"
#include "support/process_under_test.h"

namespace dravo::testing {
namespace {

using namespace std::chrono_literals;

class PlasmaRunTest : public ::testing::Test {
protected:
    PlasmaRunTest() {
        compositor.plug("DP-1", theirs);
        compositor.plug("DP-2");
        prefer(0.9);
    }

    using Run = std::unique_ptr<ProcessUnderTest>;
    [[nodiscard]] std::map<std::string, std::string> environment() const {
        return {{"WAYLAND_DISPLAY", compositor.address()}, {"XDG_CURRENT_DESKTOP", "KDE"}};
    }
    Run start() {
        return std::make_unique<ProcessUnderTest>(home, std::vector<std::string>{"--headless"}, environment());
    }
    void prefer(double intensity) {
        wanted = intensity;
        home.writePreferences(
            "filterEnabled = true\nlastPresetID = \"fl41\"\nlastIntensity = " + std::to_string(intensity) + "\n");
    }
    bool isFiltered() {
        const auto levels = toLevels(computeTable(FilterPreset::fl41(), wanted, 0, 0, 0), 256);
        return compositor.table("DP-1") == levels && compositor.table("DP-2") == levels;
    }
    bool isAsBefore() {
        return compositor.setting("DP-1") == theirs && compositor.setting("DP-2") == PlasmaSetting{} && !hasFiles();
    }
    /// What a killed run has left looks filtered, too.
    bool filters(const ProcessUnderTest& run) {
        const auto holder = posix::InstanceLock::run({home.path() / ".dravo", home.runtimeFolder() / "dravo"});
        return holder && holder->number() == run.pid() && isFiltered();
    }
    [[nodiscard]] bool hasFiles() const {
        std::error_code error;
        for (const auto& entry : std::filesystem::directory_iterator(home.runtimeFolder() / "dravo", error))
            if (entry.path().extension() == ".icc") return true;
        return false;
    }
    static bool ends(ProcessUnderTest& run, int signal) {
        run.signal(signal);
        return run.waitForExit() == (signal == SIGUSR2 ? ExitStatus::exited(0) : ExitStatus::killedBy(signal));
    }

    TestHome home;
    PlasmaSetting theirs{home.path() / "theirs.icc", 1};
    PlasmaCompositor compositor;
    double wanted = 0;
};

TEST_F(PlasmaRunTest, KillIsUndoneByTheNextStartOrByRestore) {
    home.write("theirs.icc", "not a profile, but there");
    RandomMoments moments;
    for (int round = 0; round < 25 && !HasFailure(); ++round) {
        SCOPED_TRACE(round);
        const Run run = start();
        if (const int moment = moments.oneOf(3); moment == 0) {
            moments.pass(30ms);
        } else {
            ASSERT_TRUE(waitUntil([&] { return filters(*run); })) << run->standardError();
            if (moment == 2) {
                prefer(wanted == 0.4 ? 0.9 : 0.4);
                moments.pass(350ms);
            }
        }
        ASSERT_TRUE(ends(*run, SIGKILL));
        const bool wasLeft = !compositor.setting("DP-2").path.empty();
        if (round % 2 == 0) {
            const auto restored = runProgram(home, {"restore"}, environment());
            EXPECT_EQ(restored.status, ExitStatus::exited(0)) << restored.err;
        } else {
            const Run next = start();
            ASSERT_TRUE(waitUntil([&] { return filters(*next); })) << next->standardError();
            EXPECT_TRUE(ends(*next, SIGUSR2)) << next->standardError();
            EXPECT_EQ(next->standardOutput(), wasLeft ? "Restored gamma from previous crash\n" : "");
        }
        EXPECT_TRUE(isAsBefore());
        EXPECT_FALSE(std::filesystem::exists(home.path() / ".dravo/original_gamma.json"));
    }
}

TEST_F(PlasmaRunTest, PoliteEndsGiveTheProfilesBackAlsoWhileTheMainThreadIsStuck) {
    home.write("theirs.icc", "not a profile, but there");
    for (const int signal : {SIGTERM, SIGINT, SIGHUP, SIGTERM}) {
        const Run run = start();
        ASSERT_TRUE(waitUntil([&] { return filters(*run); })) << run->standardError();
        compositor.freeze();
        prefer(wanted == 0.4 ? 0.9 : 0.4);  // A change that is sent and not read.
        std::this_thread::sleep_for(100ms);
        run->signal(signal);
        std::this_thread::sleep_for(200ms);
        compositor.thaw();
        EXPECT_EQ(run->waitForExit(), ExitStatus::killedBy(signal)) << run->standardError();
        EXPECT_TRUE(isAsBefore());
    }
    const Run run = start();
    ASSERT_TRUE(waitUntil([&] { return filters(*run); })) << run->standardError();
    EXPECT_TRUE(ends(*run, SIGUSR2)) << run->standardError();
    EXPECT_TRUE(isAsBefore());
}

TEST_F(PlasmaRunTest, SaysThatAPlasmaIsTooOld) {
    PlasmaCompositor old(PlasmaCompositor::plasma527());
    const auto listed = runProgram(home, {"displays"}, {{"WAYLAND_DISPLAY", old.address()}});
    EXPECT_NE(listed.out.find("from version 6.0 on"), std::string::npos) << listed.out << listed.err;
}

}  // namespace
}  // namespace dravo::testing
