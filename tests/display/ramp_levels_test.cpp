#include "display/ramp_levels.h"

#include <gtest/gtest.h>

#include <limits>
#include <numeric>

namespace dravo {
namespace {

TEST(RampLevelsTest, RoundTripsEveryLevelBitForBit) {
    RampLevels levels;
    levels.red.resize(65536);
    std::iota(levels.red.begin(), levels.red.end(), std::uint16_t{0});
    levels.green.assign(levels.red.rbegin(), levels.red.rend());
    levels.blue = levels.red;
    EXPECT_EQ(toLevels(toTable(levels), levels.size()), levels);
}

TEST(RampLevelsTest, RoundsClampsAndTakesNanForBlack) {
    const float nan = std::numeric_limits<float>::quiet_NaN();
    const std::vector<float> channel{-1.0F, nan, 0.4F / 65535.0F, 0.6F / 65535.0F, 0.5F, 1.0F, 7.0F};
    const std::vector<std::uint16_t> expected{0, 0, 0, 1, 32768, 65535, 65535};
    EXPECT_EQ(toLevels({channel, channel, channel}, channel.size()), (RampLevels{expected, expected, expected}));
}

TEST(RampLevelsTest, MakesNothingOfWhatCannotBeLoaded) {
    EXPECT_EQ(toLevels(GammaTable::identity(), 0).size(), 0U);
    EXPECT_EQ(toLevels({{0.0F, 1.0F}, {0.0F}, {0.0F, 1.0F}}, 256).size(), 0U);
    EXPECT_EQ(toLevels({{1.0F}, {1.0F}, {1.0F}}, 256).size(), 0U);
}

}  // namespace
}  // namespace dravo
