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

TEST(HandOverTest, SuccessorGoesOnAsThePredecessorWas) {
    FilterWorld before;
    before.preferences.setScheduleEnabled(true);  // 20:00 to 07:00: at noon it says off
    before.start();
    before.scheduler.advance(1s);
    before.state->turnOn();
    before.state->intensity = 0.33;
    before.scheduler.advance(1s);
    ASSERT_TRUE(before.showsFilter());
    const RunningState running = before.state->runningState();

    FilterWorld after;
    after.preferences.setScheduleEnabled(true);
    after.displays.begin(LastingDisplays::Beginning::goingOn);
    auto parts = after.parts();
    parts.continued = running;
    after.state.emplace(parts);
    EXPECT_EQ(after.state->runningState(), running);
    EXPECT_TRUE(after.showsFilter());
    after.scheduler.advance(1h);
    EXPECT_TRUE(after.state->isEnabled) << "the hand toggle still holds";

    FilterWorld paused;
    auto pausedParts = paused.parts();
    pausedParts.continued = running;
    pausedParts.continued->isEnabled = false;
    pausedParts.continued->pausedUntil = FilterWorld::kNoon + 10min;
    paused.state.emplace(pausedParts);
    paused.scheduler.advance(9min);
    EXPECT_TRUE(paused.showsOwn());
    paused.scheduler.advance(2min);
    EXPECT_TRUE(paused.state->isEnabled);
}

}  // namespace
}  // namespace dravo::testing
