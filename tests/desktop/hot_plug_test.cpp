#include "desktop/display_watch.h"

namespace dravo::testing {
namespace {

using HotPlugTest = FilterRunTest;

TEST_F(HotPlugTest, FiltersANewDisplayAtOnceAndKnowsItsOwnTableAfterACrash) {
    const Run run = startAndSettle();
    for (int round = 0; round < 5; ++round) {
        DisplayWatch watch(server().address(), {"DUMMY3"});
        const auto plugged = std::chrono::steady_clock::now();
        displays().enable("DUMMY3", 3 * 1024);
        EXPECT_TRUE(soonFiltered());
        const auto& seen = watch.stop().at("DUMMY3");
        if (round == 0) {
            ASSERT_EQ(seen.size(), 2U) << "its own table, then the filtered one, and nothing else";
            const std::chrono::duration<double, std::milli> wait = seen[1].since - plugged;
            std::cout << "filtered after " << wait.count() << " ms\n";
            EXPECT_LE(wait, 100ms + watch.longestGap());
        } else {
            EXPECT_EQ(seen.size(), 1U) << "unfiltered when it was plugged in again";
        }
        if (round < 4) displays().disable("DUMMY3");
    }
    EXPECT_EQ(run->endBy(SIGKILL), ExitStatus::killedBy(SIGKILL));
    quit(*startAndSettle());
}

TEST_F(HotPlugTest, BringsNoTintBackWithADisplayThatWasAwayWhenTheFilterWentOff) {
    const Run run = startAndSettle();
    displays().disable("DUMMY1");
    prefer(kStrong, false);
    EXPECT_TRUE(soonShowTheirOwn()) << "the display that is off keeps the tint";
    displays().enable("DUMMY1", 1024);
    displays().disable("DUMMY1");
    EXPECT_EQ(tables(), ownTables());

    prefer(kStrong);
    EXPECT_TRUE(soonFiltered());
    displays().disable("DUMMY2");
    quit(*run);
}

}  // namespace
}  // namespace dravo::testing
