#include "desktop/filter_run_test.h"

namespace dravo::testing {
namespace {

using SecondStartTest = FilterRunTest;

TEST_F(SecondStartTest, LeavesTheFirstOneAloneAndProtected) {
    const Run first = startAndSettle();
    const std::string saved = contentOf(savedTables());
    EXPECT_EQ(command({}, 4), "dravo: Dravo is already running (process " + std::to_string(first->pid()) + ")\n");
    for (const char* const inTheBackground : {"--headless", "--autostart"})
        EXPECT_EQ(command({inTheBackground}), "Dravo is running already.\n");
    EXPECT_TRUE(isInCharge(*first));
    EXPECT_EQ(contentOf(savedTables()), saved);
    EXPECT_TRUE(allShow(filtered(kStrong)));

    EXPECT_EQ(first->endBy(SIGTERM), ExitStatus::killedBy(SIGTERM));
    EXPECT_EQ(tables(), ownTables());
    EXPECT_EQ(contentOf(savedTables()), saved);
}

TEST_F(SecondStartTest, RestoreAsksTheRunningOneToSwitchOff) {
    const Run running = startAndSettle();
    for (int again = 0; again < 2; ++again) {
        EXPECT_EQ(command({"restore"}), "The running Dravo has switched the filter off.\n");
        EXPECT_EQ(tables(), ownTables());
    }
    EXPECT_TRUE(isInCharge(*running));

    // Still there for whoever switches it on again.
    preferOther();
    EXPECT_TRUE(soonFiltered());
    quit(*running);
}

TEST_F(SecondStartTest, RestoreSaysSoWhenTheRunningOneDoesNotAnswer) {
    const Run stuck = startAndSettle();
    server().freeze();
    EXPECT_EQ(command({"restore"}, 4), "dravo restore: the running Dravo does not answer\n");
    server().thaw();
    EXPECT_TRUE(soonShowTheirOwn()) << "it was only late";
    quit(*stuck);
}

TEST_F(SecondStartTest, RestoreAfterAKillGivesBackWhatWasSavedAndThenFindsNothingToDo) {
    const Run killed = startAndSettle();
    displays().disable("DUMMY2");
    EXPECT_EQ(killed->endBy(SIGKILL), ExitStatus::killedBy(SIGKILL));
    EXPECT_NE(command({"restore"}).find("DUMMY0: has its own table back, as saved"), std::string::npos);
    EXPECT_EQ(tables(), ownTables());
    EXPECT_TRUE(std::filesystem::exists(savedTables())) << "it may be all that is known of the absent display";
    displays().enable("DUMMY2", 2 * 1024);
    command({"restore"});
    EXPECT_EQ(tables(), ownTables());
    EXPECT_FALSE(std::filesystem::exists(savedTables()));

    EXPECT_NE(command({"restore"}).find("DUMMY0: has a neutral table"), std::string::npos);
}

}  // namespace
}  // namespace dravo::testing
