#include "desktop/display_watch.h"

namespace dravo::testing {
namespace {

using FadeTest = FilterRunTest;

TEST_F(FadeTest, ShowsNothingOutsideOfItsTwoEndsWhateverTheDisplaysOwnTablesAre) {
    displays().enable(kOutputs[3], 3 * 1024);
    for (unsigned i = 0; i < kOutputs.size(); ++i) {
        RampLevels own = calibrationRamp(i);
        const unsigned tenths = 10 - 2 * i;  // of full white: 10, 8, 6, 4
        for (auto* const channel : {&own.red, &own.green, &own.blue})
            for (auto& level : *channel) level = static_cast<std::uint16_t>(level * tenths / 10);
        displays().setRamp(kOutputs[i], own);
    }
    const Ramps own = tables();
    prefer(kStrong, false);
    const Run run = start();
    ASSERT_TRUE(soon([&] { return isInCharge(*run); }));
    DisplayWatch watch(server().address(), kOutputs);
    for (int round = 0; round < RandomMoments::rounds(3); ++round) {
        for (const bool isOn : {true, false}) {
            prefer(kStrong, isOn);
            EXPECT_TRUE(soon([&] { return isOn ? allShow(filtered(kStrong)) : tables() == own; })) << round;
        }
    }
    std::size_t frames = 0;
    for (const auto& [name, seen] : watch.stop()) {
        frames += seen.size();
        for (const auto& sight : seen)
            EXPECT_TRUE(isBetween(sight.ramp, own.at(name), filtered(kStrong))) << name << " shows " << sight.ramp;
    }
    std::cout << frames << " tables seen, " << watch.longestGap() / 1us << " us apart at most\n";
    EXPECT_EQ(run->endBy(SIGUSR2), ExitStatus::exited(0));
    EXPECT_EQ(tables(), own);
}

}  // namespace
}  // namespace dravo::testing
