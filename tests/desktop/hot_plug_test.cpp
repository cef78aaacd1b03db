#include "desktop/display_watch.h"
#include "desktop/filter_run_test.h"

namespace dravo::testing {
namespace {

using namespace std::chrono_literals;

class HotPlugTest : public FilterRunTest {
protected:
    static constexpr int kRight = 3 * 1024;  ///< Where a fourth display stands.
};

TEST_F(HotPlugTest, FiltersANewDisplayAtOnceAndKnowsItsOwnTableAfterACrash) {
    const Run run = startAndSettle();
    for (int round = 0; round < 5; ++round) {
        DisplayWatch watch(server().address(), {"DUMMY3"});
        const auto plugged = std::chrono::steady_clock::now();
        displays().enable("DUMMY3", kRight);
        EXPECT_TRUE(waitUntil([this] { return displays().ramp("DUMMY3") == filtered(kStrong); }));
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
    killHard(*run);
    const Run next = startAndSettle();
    quit(*next);
    EXPECT_EQ(tables(), ownTables());
}

TEST_F(HotPlugTest, BringsNoTintBackWithADisplayThatWasAwayWhenTheFilterWentOff) {
    const Run run = startAndSettle();
    displays().disable("DUMMY1");
    prefer(kStrong, false);
    EXPECT_TRUE(waitUntil([this] { return displays().ramp("DUMMY0") == ownTables().at("DUMMY0"); }));
    EXPECT_EQ(tables(), ownTables()) << "the display that is off keeps the tint";
    displays().enable("DUMMY1", 1024);
    displays().disable("DUMMY1");
    EXPECT_EQ(tables(), ownTables());

    prefer(kStrong);
    EXPECT_TRUE(waitUntil([this] { return allShow(filtered(kStrong)); }));
    displays().disable("DUMMY2");
    quit(*run);
    EXPECT_EQ(tables(), ownTables());
}

}  // namespace
}  // namespace dravo::testing
