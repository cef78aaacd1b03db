#include "display/gamma_applicator.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <vector>

#include "display/engine_world.h"

namespace dravo {
namespace {

using namespace std::chrono_literals;
using testing::EngineWorld;
using testing::kDark;
using testing::kDarker;
using testing::scaled;

RampLevels frameOf(const RampLevels& from, const RampLevels& to, int step) {
    const float weight = static_cast<float>(step) / 10.0F;
    return step == 10 ? to : toLevels(interpolate(toTable(from), toTable(to), weight), to.size());
}
RampLevels frameOf(const RampLevels& from, const GammaTable& to, int step) {
    return frameOf(from, toLevels(to, from.size()), step);
}

TEST(GammaApplicatorTest, FadesEachDisplayInTenFramesFromWhatItHolds) {
    EngineWorld world({256, 1024});
    auto& applicator = world.launched();
    world.desk.foreignWrite(world.crtcs[1], toLevels(kDarker, 1024));
    const std::vector start{world.desk.held(world.crtcs[0]), world.desk.held(world.crtcs[1])};
    applicator.apply(kDark, Fade::animated);
    for (int step = 1; step <= 10; ++step) {
        ASSERT_EQ(world.desk.log.size(), static_cast<std::size_t>(2 * step));
        for (std::size_t i = 0; i < 2; ++i)
            EXPECT_EQ(world.desk.held(world.crtcs[i]), frameOf(start[i], kDark, step)) << step << ", display " << i;
        EXPECT_TRUE(applicator.isRamping());
        world.scheduler.advance(30ms);
    }
    EXPECT_FALSE(applicator.isRamping());
    world.scheduler.advance(5s);
    EXPECT_EQ(world.desk.log.size(), 20U) << "what does not differ is not written";
}

TEST(GammaApplicatorTest, IsAtNoFrameBrighterThanAtBothEndsOfAFade) {
    EngineWorld world({256, 256, 1024, 256});
    const std::array own{scaled(1, 1, 1), scaled(0.5F, 0.5F, 0.5F), scaled(0.3F, 0.9F, 0.3F), scaled(1, 0.2F, 0.1F)};
    for (std::size_t i = 0; i < own.size(); ++i)
        world.desk.foreignWrite(world.crtcs[i], toLevels(own.at(i), world.desk.held(world.crtcs[i]).size()));
    auto& applicator = world.start().applicator.value();
    world.run->launch(std::nullopt);
    const auto watch = world.desk.onShow([&](CrtcId crtc, const RampLevels& levels) {
        const auto i = static_cast<std::size_t>(std::ranges::find(world.crtcs, crtc) - world.crtcs.begin());
        const RampLevels off = toLevels(own.at(i), levels.size());
        const RampLevels on = toLevels(kDark, levels.size());
        for (const auto channel : {&RampLevels::red, &RampLevels::green, &RampLevels::blue})
            for (std::size_t k = 0; k < levels.size(); ++k)
                ASSERT_LE((levels.*channel)[k], std::max((off.*channel)[k], (on.*channel)[k])) << i;
    });
    for (int round = 0; round < 20; ++round) {
        round % 2 == 0 ? applicator.apply(kDark, Fade::animated) : applicator.reset(Fade::animated);
        world.scheduler.advance(round % 5 == 0 ? 130ms : 400ms);
    }
    for (std::size_t i = 0; i < own.size(); ++i) EXPECT_TRUE(world.shows(own.at(i), i)) << i;
}

TEST(GammaApplicatorTest, MeasuresFramesFromTheStartAndSkipsWhatIsLate) {
    EngineWorld world;
    auto& applicator = world.launched();
    const RampLevels start = world.desk.held(world.crtcs[0]);
    applicator.apply(kDark, Fade::animated);
    world.scheduler.stall(115ms);
    world.scheduler.advance(0ms);
    ASSERT_EQ(world.desk.log.size(), 2U) << "no burst";
    EXPECT_EQ(world.desk.log.back().levels, frameOf(start, kDark, 4));
    world.scheduler.advance(5ms);
    ASSERT_EQ(world.desk.log.size(), 3U) << "lateness does not add up";
    EXPECT_EQ(world.desk.log.back().levels, frameOf(start, kDark, 5));
    world.scheduler.stall(10s);
    world.scheduler.advance(0ms);
    EXPECT_EQ(world.desk.log.size(), 4U);
    EXPECT_TRUE(world.shows(kDark));
    EXPECT_FALSE(applicator.isRamping());
}

TEST(GammaApplicatorTest, AppliesAtOnceWithoutATableToFadeFrom) {
    EngineWorld dark(std::vector<std::size_t>{});
    dark.launched().apply(kDark, Fade::animated);
    EXPECT_FALSE(dark.run->applicator->isRamping());
    const CrtcId crtc = dark.desk.addCrtc(256);
    dark.desk.plug("DP-1", crtc);
    EXPECT_EQ(dark.desk.held(crtc), toLevels(kDark, 256)) << "in the event that brought it";

    EngineWorld world;
    auto& applicator = world.launched();
    world.desk.failsReading = true;
    applicator.apply(kDark, Fade::animated);
    EXPECT_FALSE(applicator.isRamping());
    EXPECT_TRUE(world.shows(kDark));
}

TEST(GammaApplicatorTest, StartsAFadeThatInterruptsAnotherFromTheFrameOnScreen) {
    for (const bool resets : {false, true}) {
        EngineWorld world;
        const RampLevels own = world.desk.held(world.crtcs[0]);
        auto& applicator = world.launched();
        applicator.apply(kDarker, Fade::none);
        applicator.apply(kDark, Fade::animated);
        world.scheduler.advance(65ms);
        const RampLevels onScreen = world.desk.held(world.crtcs[0]);
        resets ? applicator.reset(Fade::animated) : applicator.apply(kDarker, Fade::animated);
        EXPECT_EQ(world.desk.log.back().levels, resets ? frameOf(onScreen, own, 1) : frameOf(onScreen, kDarker, 1));
    }
}

TEST(GammaApplicatorTest, DoesNotStartAFadeFromWhatAnotherProgramPutOverOurTable) {
    EngineWorld world;
    auto& applicator = world.launched();
    applicator.apply(kDark, Fade::none);
    world.desk.foreignWrite(world.crtcs[0], toLevels(GammaTable::identity(), 256));
    applicator.apply(kDarker, Fade::animated);
    EXPECT_EQ(world.desk.log.back().levels, frameOf(toLevels(kDark, 256), kDarker, 1));
}

TEST(GammaApplicatorTest, FadesToEachDisplaysOwnTableWhenItResets) {
    EngineWorld world({256, 1024});
    const RampLevels own = world.desk.held(world.crtcs[0]);
    auto& applicator = world.launched();
    applicator.apply(kDark, Fade::none);
    world.desk.log.clear();
    int ends = 0;
    const auto watch = applicator.onRampEnd([&] { ++ends; });
    applicator.reset(Fade::animated);
    EXPECT_EQ(world.desk.log.front().levels, frameOf(toLevels(kDark, 256), own, 1));
    world.scheduler.advance(299ms);
    EXPECT_TRUE(world.showsOwn(0) && world.showsOwn(1));
    EXPECT_EQ(ends, 0);
    world.scheduler.advance(1ms);
    EXPECT_EQ(ends, 1);
    EXPECT_EQ(world.desk.log.size(), 20U) << "and not once more at the end";

    world.desk.plug("DP-9", world.desk.addCrtc(256));
    world.wakeSource.wake();
    world.scheduler.advance(10s);
    EXPECT_EQ(world.desk.log.size(), 20U) << "nothing is kept any more";
}

TEST(GammaApplicatorTest, WritesNothingOnceTheDisplaysAreGivenBackForGood) {
    EngineWorld world;
    auto& applicator = world.launched();
    applicator.apply(kDark, Fade::none);
    applicator.apply(kDarker, Fade::animated);
    ASSERT_TRUE(applicator.shutDown());
    const auto writes = world.desk.log.size();
    applicator.apply(kDark, Fade::none);
    applicator.apply(kDark, Fade::animated);
    applicator.reset(Fade::animated);
    world.wakeSource.wake();
    world.desk.unplug("DP-1");
    world.desk.plug("DP-1", world.crtcs[0]);
    world.scheduler.advance(10s);
    ASSERT_TRUE(applicator.shutDown());
    EXPECT_EQ(world.desk.log.size(), writes);
    EXPECT_TRUE(world.showsOwn(0));
}

TEST(GammaApplicatorTest, ResetsAtOnceWithoutACurrentTable) {
    EngineWorld world;
    auto& applicator = world.launched();
    world.run->displays.show(kDark, Fade::none);
    applicator.reset(Fade::animated);
    EXPECT_FALSE(applicator.isRamping());
    EXPECT_TRUE(world.showsOwn(0));
}

TEST(GammaApplicatorTest, DropsTheBusinessOfAResetThatANewerCallCutsShort) {
    for (const Fade fade : {Fade::none, Fade::animated}) {
        EngineWorld world;
        auto& applicator = world.launched();
        applicator.apply(kDark, Fade::none);
        applicator.reset(Fade::animated);
        world.scheduler.advance(100ms);
        applicator.apply(kDarker, fade);
        world.scheduler.advance(5s);
        EXPECT_TRUE(world.shows(kDarker));
        world.desk.foreignWrite(world.crtcs[0], toLevels(GammaTable::identity(), 256));
        world.scheduler.advance(1s);
        EXPECT_TRUE(world.shows(kDarker)) << "still current";
    }
}

TEST(GammaApplicatorTest, FinishesAPendingResetWhenItEnds) {
    EngineWorld world;
    auto& applicator = world.launched();
    applicator.apply(kDark, Fade::none);
    applicator.reset(Fade::animated);
    world.run->applicator.reset();
    EXPECT_TRUE(world.showsOwn(0));
}

TEST(GammaApplicatorTest, AsksAgainWhenTheServerRefusesToTakeTheTableBackUntilAnotherIsWanted) {
    EngineWorld world;
    auto& applicator = world.launched();
    applicator.apply(kDark, Fade::none);
    world.desk.refusesWriting = true;
    EXPECT_EQ(applicator.resetAtOnce().error().code, ErrorCode::PermissionDenied);
    world.scheduler.advance(3s);
    EXPECT_TRUE(world.shows(kDark));
    world.desk.refusesWriting = false;
    world.scheduler.advance(1s);
    EXPECT_TRUE(world.showsOwn(0));
    EXPECT_TRUE(applicator.resetAtOnce());

    applicator.apply(kDark, Fade::none);
    world.desk.refusesWriting = true;
    applicator.reset(Fade::none);
    world.desk.refusesWriting = false;
    applicator.apply(kDarker, Fade::none);
    const auto writes = world.desk.log.size();
    world.scheduler.advance(3s);
    EXPECT_EQ(world.desk.log.size(), writes);
    EXPECT_TRUE(world.shows(kDarker));
}

TEST(GammaApplicatorTest, UndoesAForeignChangeWithinASecond) {
    EngineWorld world({256, 256});
    auto& applicator = world.launched();
    applicator.apply(kDark, Fade::none);
    for (int i = 0; i < 20; ++i) {
        world.scheduler.advance(337ms);
        world.desk.foreignWrite(world.crtcs[1], toLevels(GammaTable::identity(), 256));
        world.scheduler.advance(1s);
        EXPECT_TRUE(world.shows(kDark, 1));
    }
    world.desk.refusesWritingTo = world.crtcs[0];
    applicator.apply(kDarker, Fade::none);
    EXPECT_TRUE(world.shows(kDarker, 1)) << "a display that refuses does not stop the others";
    world.desk.refusesWritingTo.reset();
    world.scheduler.advance(1s);
    EXPECT_TRUE(world.shows(kDarker, 0));
}

TEST(GammaApplicatorTest, FiltersADisplayThatComesDuringAFade) {
    EngineWorld world({256, 256});
    world.desk.unplug("DP-2");
    auto& applicator = world.launched();
    const RampLevels start = world.desk.held(world.crtcs[0]);
    applicator.apply(kDark, Fade::animated);
    world.scheduler.advance(100ms);
    world.desk.plug("DP-2", world.crtcs[1]);
    EXPECT_EQ(world.desk.held(world.crtcs[0]), frameOf(start, kDark, 4));
    EXPECT_TRUE(world.shows(kDark, 1)) << "what the others are on their way to";
}

TEST(GammaApplicatorTest, ShowsTheLatestWishOnAServerThatAnswersLate) {
    EngineWorld world({256, 1024});
    auto& applicator = world.launched();
    auto& device = world.run->device;
    device.answersLate = true;
    applicator.apply(kDark, Fade::animated);  // asks first what the displays hold
    applicator.apply(kDarker, Fade::none);
    for (int i = 0; i < 20; ++i) {
        world.scheduler.advance(30ms);
        if (i % 3 == 0) device.answerAll();
    }
    EXPECT_TRUE(world.shows(kDarker, 0) && world.shows(kDarker, 1));

    world.desk.log.clear();
    applicator.apply(kDark, Fade::animated);
    world.scheduler.advance(200ms);
    EXPECT_EQ(world.desk.log.size(), 2U) << "frames are left out while one is under way";
    world.scheduler.advance(100ms);
    EXPECT_TRUE(world.shows(kDark, 0) && world.shows(kDark, 1)) << "but not the last";

    applicator.reset(Fade::none);
    applicator.apply(kDark, Fade::none);
    device.answerAll();
    EXPECT_EQ(device.guarded().size(), 2U) << "what was confirmed in between is not on the displays any more";
    ASSERT_TRUE(applicator.shutDown());
    EXPECT_TRUE(world.showsOwn(0) && world.showsOwn(1));
    EXPECT_TRUE(device.guarded().empty());
}

TEST(GammaApplicatorTest, WritesInTheEventOfAWakeWithoutBelievingTheServersCopy) {
    EngineWorld world;
    world.launched().apply(kDark, Fade::none);
    world.scheduler.sleep(8h);
    world.desk.loseHardwareContents();
    world.wakeSource.wake();
    EXPECT_TRUE(world.shows(kDark));
    world.scheduler.advance(400ms);
    world.desk.loseHardwareContents();
    world.scheduler.advance(600ms);
    EXPECT_TRUE(world.shows(kDark)) << "screens that come up late";
}

}  // namespace
}  // namespace dravo
