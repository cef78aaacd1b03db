// The real program on a compositor that gives each display's table to one client.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <string>

#include "desktop/random_moments.h"
#include "display/gamma_table.h"
#include "support/private_bus.h"
#include "support/process_under_test.h"
#include "support/small_compositor.h"

namespace dravo::testing {
namespace {

using namespace std::chrono_literals;

class WlrootsRunTest : public ::testing::Test {
protected:
    WlrootsRunTest() {
        plugBoth();
        prefer(0.9);
    }
    void plugBoth() {
        compositor.plug("DP-1", 256, "A");
        compositor.plug("DP-2", 1024, "B");
    }

    using Run = std::unique_ptr<ProcessUnderTest>;
    using Environment = std::map<std::string, std::string>;
    Environment onCompositor() { return {{"WAYLAND_DISPLAY", compositor.address()}, {"DISPLAY", ":99"}}; }
    Run start() {
        return std::make_unique<ProcessUnderTest>(home, std::vector<std::string>{"--headless"}, onCompositor());
    }
    /// Writes settings with the filter on at this intensity; a run that is there fades to it.
    void prefer(double intensity) {
        wanted = intensity;
        home.writePreferences(
            "filterEnabled = true\nlastPresetID = \"fl41\"\nlastIntensity = " + std::to_string(intensity) + "\n");
    }
    bool isFiltered() {
        const auto table = computeTable(FilterPreset::fl41(), wanted, 0, 0, 0);
        return compositor.table("DP-1") == toLevels(table, 256) && compositor.table("DP-2") == toLevels(table, 1024);
    }
    bool isAsBefore() { return !compositor.table("DP-1") && !compositor.table("DP-2"); }
    static bool ends(ProcessUnderTest& run, int signal) {
        run.signal(signal);
        return run.waitForExit() == (signal == SIGUSR2 ? ExitStatus::exited(0) : ExitStatus::killedBy(signal));
    }

    /// How often the kernel has switched to or from a thread of the process.
    static long switches(const ProcessUnderTest& run) {
        long sum = 0;
        for (const auto& thread : std::filesystem::directory_iterator("/proc/" + std::to_string(run.pid()) + "/task")) {
            std::ifstream status(thread.path() / "status");
            for (std::string line; std::getline(status, line);)
                if (const auto found = line.find("_ctxt_switches:"); found != std::string::npos)
                    sum += std::stol(line.substr(found + 15));
        }
        return sum;
    }
    /// How many of them pass while nothing is done.
    static long switchesIn(const ProcessUnderTest& run, std::chrono::milliseconds time) {
        const long before = switches(run);
        std::this_thread::sleep_for(time);
        return switches(run) - before;
    }

    SmallCompositor compositor;
    TestHome home;
    double wanted = 0;
};

TEST_F(WlrootsRunTest, LeavesNothingHoweverItEnds) {
    RandomMoments moments;
    for (int round = 0; round < 25 && !HasFailure(); ++round) {
        SCOPED_TRACE(round);
        const Run run = start();
        if (const int moment = moments.oneOf(3); moment == 0) {
            moments.pass(30ms);
        } else {
            ASSERT_TRUE(waitUntil([&] { return isFiltered(); })) << run->standardError();
            if (moment == 2) {
                prefer(wanted == 0.4 ? 0.9 : 0.4);
                moments.pass(350ms);
            }
        }
        ASSERT_TRUE(ends(*run, SIGKILL));
        EXPECT_TRUE(waitUntil([&] { return isAsBefore(); }));
        EXPECT_EQ(run->standardOutput(), "");
    }
    for (const int signal : {SIGTERM, SIGUSR2}) {
        const Run run = start();
        ASSERT_TRUE(waitUntil([&] { return isFiltered(); })) << run->standardError();
        EXPECT_TRUE(ends(*run, signal)) << run->standardError();
        EXPECT_TRUE(waitUntil([&] { return isAsBefore(); }));
        EXPECT_EQ(run->standardOutput(), "");
    }
    EXPECT_FALSE(std::filesystem::exists(home.path() / ".dravo/original_gamma.json"));
}

TEST_F(WlrootsRunTest, SleepsWhileNothingHappensAndFiltersAgainAfterTheCompositorsRestart) {
    const Run run = start();
    ASSERT_TRUE(waitUntil([&] { return isFiltered(); })) << run->standardError();
    std::this_thread::sleep_for(1500ms);  // The start's own doings.
    EXPECT_LE(switchesIn(*run, 2s), 2);

    compositor.die();
    std::this_thread::sleep_for(300ms);
    EXPECT_LE(switchesIn(*run, 2s), 30) << "a compositor that is gone is not asked for in a loop";
    compositor.start();
    plugBoth();
    EXPECT_TRUE(waitUntil([&] { return isFiltered(); })) << run->standardError();

    compositor.answerLoads(SmallCompositor::Loads::refused);
    prefer(0.4);
    EXPECT_TRUE(waitUntil([&] { return isAsBefore(); }));
    std::this_thread::sleep_for(1500ms);
    EXPECT_LE(switchesIn(*run, 2s), 2) << "nor is a refusal";
    compositor.answerLoads(SmallCompositor::Loads::taken);
    compositor.plug("DP-3");
    EXPECT_TRUE(waitUntil([&] { return isFiltered(); })) << run->standardError();
    EXPECT_TRUE(ends(*run, SIGUSR2));
    EXPECT_TRUE(isAsBefore()) << "confirmed before the end";
}

TEST_F(WlrootsRunTest, CostsASlowCompositorLittleAndAStormOfPlugsNothingButItsEvents) {
    const Run run = start();
    ASSERT_TRUE(waitUntil([&] { return isFiltered(); })) << run->standardError();
    const long before = switches(*run);
    compositor.slowDown(100ms);
    prefer(0.4);
    EXPECT_TRUE(waitUntil([&] { return isFiltered(); }));
    compositor.slowDown(0ms);
    EXPECT_LE(switches(*run) - before, 80);

    const long calm = switches(*run);
    for (int i = 0; i < 50; ++i) {
        compositor.plug("DP-3", 512, "C");
        std::this_thread::sleep_for(10ms);
        compositor.unplug("DP-3");
        std::this_thread::sleep_for(10ms);
    }
    compositor.plug("DP-3", 512, "C");
    EXPECT_TRUE(waitUntil([&] { return compositor.table("DP-3").has_value(); }));
    EXPECT_TRUE(isFiltered());
    EXPECT_LE(switches(*run) - calm, 1500);
    EXPECT_TRUE(ends(*run, SIGUSR2));
}

TEST_F(WlrootsRunTest, CommandsAboutDisplaysTakeNone) {
    const PrivateBus bus;
    auto environment = onCompositor();
    environment["DBUS_SESSION_BUS_ADDRESS"] = bus.address();
    const auto command = [&](const char* name) { return runProgram(home, {name}, environment); };
    EXPECT_EQ(command("displays").status, ExitStatus::exited(4));
    EXPECT_EQ(command("restore").status, ExitStatus::exited(0));
    EXPECT_TRUE(command("doctor").out.starts_with("✓ Displays (wlroots)\n    Start Dravo: "));
    EXPECT_EQ(compositor.books().requests, 0);

    ProcessUnderTest run(home, {"--headless"}, environment);
    ASSERT_TRUE(waitUntil([&] { return isFiltered() && command("status").status.code == 0; })) << run.standardError();
    const int asked = compositor.books().requests;
    const auto listed = command("displays");
    EXPECT_EQ(listed.status, ExitStatus::exited(0)) << listed.err;
    EXPECT_NE(listed.out.find("DP-2  "), std::string::npos) << listed.out;
    EXPECT_NE(listed.out.find("  1024 entries  ready  white #"), std::string::npos) << listed.out;
    EXPECT_TRUE(command("doctor").out.starts_with("✓ Displays (wlroots)\n✓ DP-1 (wlroots)\n✓ DP-2 (wlroots)\n"));
    // One that hangs still has them.
    run.signal(SIGSTOP);
    EXPECT_EQ(command("displays").status, ExitStatus::exited(4));
    EXPECT_TRUE(command("doctor").out.starts_with("✗ Displays: Dravo is running and does not answer\n"));
    run.signal(SIGCONT);
    EXPECT_EQ(compositor.books().requests, asked);
    EXPECT_TRUE(isFiltered());
}

}  // namespace
}  // namespace dravo::testing
