#include <gtest/gtest.h>

#include <algorithm>
#include <random>

#include "display/engine_world.h"

namespace dravo {
namespace {

using namespace std::chrono_literals;
using testing::EngineRun;
using testing::EngineWorld;
using testing::isNowhereBrighter;
using testing::kDark;
using testing::kDarker;
using testing::scaled;

TEST(LaunchTest, GoesFromWhatACrashLeftToWhatIsWantedInOneLoad) {
    EngineWorld world({256, 1024});
    world.run->launch(kDark);
    world.run->cutOff();
    world.desk.log.clear();
    EXPECT_TRUE(world.start().launch(kDarker));
    EXPECT_EQ(world.desk.log.size(), 2U);
    EXPECT_TRUE(world.shows(kDarker, 0) && world.shows(kDarker, 1));
}

/// Runs that live through anything for a while, with an eye on every table that a display is given.
class CrashTest : public ::testing::TestWithParam<unsigned> {
protected:
    CrashTest() : random(GetParam()), world({256, 1024, 256}) {}

    int pick(int count) { return std::uniform_int_distribution(0, count - 1)(random); }
    bool isPlugged(std::size_t index) const { return world.desk.outputs().contains(EngineWorld::connector(index)); }

    RampLevels neutral(std::size_t index) const {
        return toLevels(GammaTable::identity(), world.desk.held(world.crtcs[index]).size());
    }
    void disturb() {
        const auto index = static_cast<std::size_t>(pick(3));
        switch (pick(7)) {
            case 0:
                if (isPlugged(index)) {
                    world.desk.unplug(EngineWorld::connector(index));
                } else {
                    world.desk.plug(EngineWorld::connector(index), world.crtcs[index]);
                }
                break;
            case 1:
                world.run->applicator->apply(kDark, Fade::animated);
                break;
            case 2:
                world.run->applicator->apply(kDarker, Fade::animated);
                break;
            case 3:
                world.desk.foreignWrite(world.crtcs[index], neutral(index));
                break;
            case 4:
                world.desk.loseHardwareContents();
                world.wakeSource.wake();
                break;
            default:
                world.scheduler.advance(std::chrono::milliseconds(pick(400)));
        }
    }
    void expectFilteredOnly() {
        for (const auto& [crtc, levels] : world.desk.log)
            ASSERT_TRUE(isNowhereBrighter(levels, toLevels(kDark, levels.size())));
        world.desk.log.clear();
    }

    std::mt19937 random;
    EngineWorld world;
};

TEST_P(CrashTest, NeverLightensTheScreenWhileOnAndLosesNobodysTable) {
    for (int life = 0; life < 6; ++life) {
        EngineRun& run = life == 0 ? *world.run : world.start();
        // A kill may also come between any two steps of the launch.
        const int stepsOfLaunch = pick(6);
        if (stepsOfLaunch >= 1) run.displays.begin(LastingDisplays::Beginning::afresh);
        if (stepsOfLaunch >= 2) {
            run.applicator->apply(kDark, Fade::none);
            for (int i = pick(20); i > 0; --i) disturb();
        }
        expectFilteredOnly();
        run.cutOff();
    }
    for (std::size_t i = 0; i < 3; ++i)
        if (isPlugged(i)) world.desk.unplug(EngineWorld::connector(i));
    world.start().launch(kDark);
    for (std::size_t i = 0; i < 3; ++i) {
        world.desk.plug(EngineWorld::connector(i), world.crtcs[i]);
        EXPECT_TRUE(world.shows(kDark, i)) << "in the event that brought it";
    }
    world.scheduler.advance(2s);
    expectFilteredOnly();
    ASSERT_TRUE(world.run->quit());
    for (std::size_t i = 0; i < 3; ++i) EXPECT_TRUE(world.showsOwn(i)) << i;
}

INSTANTIATE_TEST_SUITE_P(Seeds, CrashTest, ::testing::Range(1U, 26U));

}  // namespace
}  // namespace dravo
