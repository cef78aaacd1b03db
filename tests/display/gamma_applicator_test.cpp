#include "display/gamma_applicator.h"

#include <gtest/gtest.h>

#include <functional>
#include <vector>

#include "display/engine_world.h"

namespace dravo {
namespace {

using namespace std::chrono_literals;
using testing::EngineWorld;
using testing::kDark;
using testing::kDarker;
using testing::scaled;

RampLevels frameOf(const GammaTable& from, const GammaTable& to, int step, std::size_t size = 256) {
    return toLevels(step == 10 ? to : interpolate(from, to, static_cast<float>(step) / 10.0F), size);
}

TEST(GammaApplicatorTest, FadesInTenFramesFromTheFirstDisplaysTable) {
    EngineWorld world({256, 1024});
    auto& applicator = world.launched();
    const GammaTable start = toTable(world.desk.held(world.crtcs[0]));
    applicator.apply(kDark, Fade::animated);
    for (int step = 1; step <= 10; ++step) {
        ASSERT_EQ(world.desk.log.size(), static_cast<std::size_t>(2 * step));
        EXPECT_EQ(world.desk.held(world.crtcs[0]), frameOf(start, kDark, step)) << step;
        EXPECT_EQ(world.desk.held(world.crtcs[1]), frameOf(start, kDark, step, 1024)) << step;
        EXPECT_TRUE(applicator.isRamping());
        world.scheduler.advance(30ms);
    }
    EXPECT_FALSE(applicator.isRamping());
    world.scheduler.advance(5s);
    EXPECT_EQ(world.desk.log.size(), 20U) << "what does not differ is not written";
}

TEST(GammaApplicatorTest, MeasuresFramesFromTheStartAndSkipsWhatIsLate) {
    EngineWorld world;
    auto& applicator = world.launched();
    const GammaTable start = toTable(world.desk.held(world.crtcs[0]));
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

    for (bool memory::VirtualDesk::*failure :
         {&memory::VirtualDesk::failsListing, &memory::VirtualDesk::failsReading}) {
        EngineWorld world;
        auto& applicator = world.launched();
        world.desk.*failure = true;
        applicator.apply(kDark, Fade::animated);
        EXPECT_FALSE(applicator.isRamping());
        world.desk.*failure = false;
        world.scheduler.advance(1s);
        EXPECT_TRUE(world.shows(kDark));
    }
}

TEST(GammaApplicatorTest, FadesShortTablesOverTheirWholeRange) {
    EngineWorld world({64});
    auto& applicator = world.launched();
    applicator.apply(kDark, Fade::animated);
    world.scheduler.advance(299ms);
    EXPECT_EQ(world.desk.log.size(), 10U);
    EXPECT_TRUE(world.shows(kDark));
}

TEST(GammaApplicatorTest, StartsASecondFadeFromTheFirstOnesTargetIfThatIsDarker) {
    EngineWorld world;
    auto& applicator = world.launched();
    applicator.apply(kDarker, Fade::animated);
    world.scheduler.advance(100ms);
    applicator.apply(kDark, Fade::animated);
    EXPECT_EQ(world.desk.log.back().levels, frameOf(kDarker, kDark, 1));
    world.scheduler.advance(1s);
    EXPECT_TRUE(world.shows(kDark));
}

TEST(GammaApplicatorTest, NeverJumpsToSomethingBrighterWhenAFadeIsInterrupted) {
    struct Interruption {
        GammaTable target;
        std::function<void(GammaApplicator&)> act;
    };
    const std::vector<Interruption> interruptions{
        {kDarker, [](auto& applicator) { applicator.apply(kDarker, Fade::animated); }},
        {kDark, [](auto& applicator) { applicator.apply(kDark, Fade::animated); }},
        {GammaTable::identity(), [](auto& applicator) { applicator.reset(Fade::animated); }}};
    const GammaTable onScreen = interpolate(kDarker, kDark, 0.3F);
    for (const auto& [target, interrupt] : interruptions) {
        EngineWorld world;
        auto& applicator = world.launched();
        applicator.apply(kDarker, Fade::none);
        applicator.apply(kDark, Fade::animated);
        world.scheduler.advance(65ms);
        ASSERT_TRUE(world.shows(onScreen));
        interrupt(applicator);
        EXPECT_EQ(world.desk.log.back().levels, frameOf(onScreen, target, 1)) << "not from the brighter target";
    }
}

TEST(GammaApplicatorTest, FadesToNeutralAndThenGivesBackTheCalibration) {
    EngineWorld world;
    auto& applicator = world.launched();
    applicator.apply(kDark, Fade::none);
    int ends = 0;
    const auto watch = applicator.onRampEnd([&] { ++ends; });
    applicator.reset(Fade::animated);
    EXPECT_EQ(world.desk.log.back().levels, frameOf(kDark, GammaTable::identity(), 1));
    world.scheduler.advance(299ms);
    EXPECT_TRUE(world.shows(GammaTable::identity()));
    EXPECT_EQ(ends, 0);
    world.scheduler.advance(1ms);
    EXPECT_TRUE(world.showsOwn(0));
    EXPECT_EQ(ends, 1);

    const auto writes = world.desk.log.size();
    world.desk.plug("DP-9", world.desk.addCrtc(256));
    world.wakeSource.wake();
    world.scheduler.advance(10s);
    EXPECT_EQ(world.desk.log.size(), writes) << "nothing is kept any more";
}

TEST(GammaApplicatorTest, ResetsAtOnceWithoutACurrentTable) {
    EngineWorld world;
    auto& applicator = world.launched();
    applicator.applyToAllDisplays(kDark);
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

TEST(GammaApplicatorTest, LoadsTheLatestFrameIntoADisplayThatComesDuringAFade) {
    EngineWorld world({256, 256});
    world.desk.unplug("DP-2");
    auto& applicator = world.launched();
    const GammaTable start = toTable(world.desk.held(world.crtcs[0]));
    applicator.apply(kDark, Fade::animated);
    world.scheduler.advance(100ms);
    world.desk.plug("DP-2", world.crtcs[1]);
    EXPECT_EQ(world.desk.held(world.crtcs[1]), frameOf(start, kDark, 4));
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
