#include "app/hand_over.h"

#include <gtest/gtest.h>

#include "support/filter_world.h"

namespace dravo::testing {
namespace {

using namespace std::chrono_literals;

TEST(HandOverTest, ComesBackAsItWentAndNothingElseIsTakenForOne) {
    const HandOver full{4711,
                        5,
                        true,
                        false,
                        {false,
                         WallTime(1'700'000'000'123'456'789ns),
                         true,
                         false,
                         "an \"id\", with blanks",
                         {0.1, 0.3, -0.0, -0.4999999999999999}}};
    const HandOver plain{1, -1, false, true, {true, std::nullopt, false, std::nullopt, "epaper", {}}};
    for (const HandOver& handOver : {full, plain}) EXPECT_EQ(decodeHandOver(encodeHandOver(handOver)), handOver);
    const std::string good = encodeHandOver(plain);
    for (const std::string& bad : {std::string(), std::string("{}"), std::string("[1]"), good.substr(1)})
        EXPECT_FALSE(decodeHandOver(bad)) << bad;
}

TEST(HandOverTest, ThePauseOfThePredecessorEndsInTime) {
    FilterWorld paused;
    auto parts = paused.parts();
    parts.continued.emplace().pausedUntil = FilterWorld::kNoon + 10min + 10s;
    paused.state.emplace(parts);
    paused.scheduler.advance(10min + 9s);
    EXPECT_TRUE(paused.showsOwn());
    paused.scheduler.advance(1s);
    EXPECT_TRUE(paused.state->isEnabled);
}

}  // namespace
}  // namespace dravo::testing
