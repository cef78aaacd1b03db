#include "display/gamma_table.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <numeric>
#include <random>

#include "display/ramp_levels.h"

namespace dravo {
namespace {

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kInfinity = std::numeric_limits<double>::infinity();

GammaTable table(const FilterPreset& preset, const Adjustments& wanted) {
    return computeTable(preset, wanted.intensity, wanted.dimming, wanted.blackPoint, wanted.contrast);
}

bool everyEntryIs(const GammaTable& found, float level) {
    return std::ranges::all_of(GammaTable::channels(), [&](auto channel) {
        return (found.*channel).size() == 256 && std::ranges::count(found.*channel, level) == 256;
    });
}

TEST(GammaTableTest, LeavesEverythingAsItIsWhenAllIsNeutral) {
    const GammaTable identity = GammaTable::identity();
    ASSERT_EQ(identity.size(), 256U);
    EXPECT_EQ(identity.green[51], 0.2F);
    EXPECT_EQ(table({}, {}), identity);
}

TEST(GammaTableTest, NeverLeavesTheRangeWhateverComes) {
    std::mt19937_64 random(20241);
    std::uniform_real_distribution<double> wide(-3, 4);
    const double oddities[] = {0, 1, -1, 0.5, 2.2, 6500, kNaN, kInfinity, -kInfinity, 1e300};
    const auto number = [&] { return random() % 8 == 0 ? oddities[random() % std::size(oddities)] : wide(random); };
    for (int round = 0; round < 1000; ++round) {
        const GammaTable found = table({.redFactor = number(),
                                        .gamma = round % 3 == 0 ? 1 : number(),
                                        .colorTemperature = 2000 * number(),
                                        .redIntensity = number()},
                                       {number(), number(), number(), number()});
        for (const float level : found.red) ASSERT_TRUE(level >= 0 && level <= 1) << "round " << round;
    }
}

TEST(GammaTableTest, AppliesAllAdjustmentsInTheirOrder) {
    const FilterPreset preset{.redFactor = 0.9,
                              .greenFactor = 0.5,
                              .blueFactor = 0.2,
                              .gamma = 1.3,
                              .colorTemperature = 3500,
                              .greenIntensity = 0.8,
                              .blueIntensity = 0.6};
    const GammaTable found = table(preset, {0.7, 0.2, 0.05, 0.15});
    // Entries 64, 128 and 255, worked out on paper.
    const std::array<std::array<float, 3>, 3> wanted{{{0.109754F, 0.2908472F, 0.7379656F},
                                                      {0.0490888F, 0.1381029F, 0.3598213F},
                                                      {0.0262374F, 0.0796551F, 0.2141427F}}};
    for (std::size_t channel = 0; channel < 3; ++channel) {
        const auto& entries = found.*GammaTable::channels()[channel];
        EXPECT_EQ(entries[0], 0.0F);
        EXPECT_NEAR(entries[64], wanted[channel][0], 1e-6);
        EXPECT_NEAR(entries[128], wanted[channel][1], 1e-6);
        EXPECT_NEAR(entries[255], wanted[channel][2], 1e-6);
    }
}

TEST(GammaTableTest, NeverFallsWithinTheSliders) {
    std::mt19937 random(7);
    std::uniform_real_distribution<double> unit(0, 1);
    for (int round = 0; round < 200; ++round) {
        FilterPreset preset{.redFactor = unit(random), .greenFactor = unit(random), .blueFactor = unit(random)};
        preset.gamma = 0.5 + 1.5 * unit(random);
        preset.colorTemperature = 2700 + 3800 * unit(random);
        const GammaTable found =
            table(preset, {unit(random), 0.8 * unit(random), 0.2 * unit(random), unit(random) - 0.5});
        for (const auto channel : GammaTable::channels()) EXPECT_TRUE(std::ranges::is_sorted(found.*channel));
    }
}

TEST(GammaTableTest, HoldsAtTheEndsOfItsAdjustments) {
    const GammaTable lifted = table({}, {.blackPoint = 0.1});
    EXPECT_EQ(lifted.red[0], 0.1F);
    EXPECT_EQ(lifted.blue[255], 1.0F);

    EXPECT_TRUE(everyEntryIs(table({.gamma = 1.7}, {.dimming = 1}), 0));
    EXPECT_TRUE(everyEntryIs(table({.gamma = 0}, {.dimming = 0.4}), 1));
    EXPECT_TRUE(everyEntryIs(table({}, {.intensity = kNaN}), 0));
    EXPECT_TRUE(everyEntryIs(table({.gamma = kNaN}, {.dimming = 0.5}), 0));
}

TEST(GammaTableTest, KnowsTheColourOfTemperatures) {
    EXPECT_EQ(kelvinToRGB(6500), (Rgb{1.0, 0.9965101329635118, 0.980556503404006}));
    EXPECT_EQ(temperatureTint(6500), (Rgb{1, 1, 1}));
    const Rgb warm = kelvinToRGB(2700);
    const Rgb tint = temperatureTint(2700);
    EXPECT_EQ(warm.red, 1.0);
    EXPECT_NEAR(warm.green, 0.6538038, 1e-7);
    EXPECT_NEAR(warm.blue, 0.3427666, 1e-7);
    EXPECT_EQ(tint.red, 1.0);
    EXPECT_NEAR(tint.green, 0.6560935, 1e-7);
    EXPECT_NEAR(tint.blue, 0.3495634, 1e-7);
}

TEST(GammaTableTest, HoldsAtTheBranchesOfTheTemperatureFit) {
    EXPECT_EQ(kelvinToRGB(1900).blue, 0.0);
    EXPECT_GT(kelvinToRGB(2000).blue, 0.0);
    EXPECT_EQ(kelvinToRGB(6600).blue, 1.0);
    EXPECT_EQ(kelvinToRGB(6600).red, 1.0);
    for (const double dark : {0.0, -500.0}) EXPECT_EQ(kelvinToRGB(dark), (Rgb{1, 0, 0}));
    EXPECT_EQ(kelvinToRGB(kNaN), (Rgb{0, 0, 0}));
    // A cold white is bluish: red lowest, blue full, green between; all brighter than a half.
    const Rgb cold = kelvinToRGB(10000);
    EXPECT_NEAR(cold.red, 0.7909, 1e-3);
    EXPECT_NEAR(cold.green, 0.8552, 1e-3);
    EXPECT_EQ(cold.blue, 1.0);
}

TEST(GammaTableTest, BlendsEntryByEntryOverTheShorterLength) {
    const GammaTable from = GammaTable::identity();
    const GammaTable dark = table({}, {.dimming = 0.5});
    EXPECT_EQ(interpolate(from, dark, 0), from);
    EXPECT_EQ(interpolate(from, dark, 0.25F).red[200], from.red[200] + (dark.red[200] - from.red[200]) * 0.25F);
    const GammaTable shorter{std::vector<float>(200, 1.0F), std::vector<float>(200, 0.5F), std::vector<float>(200)};
    const GammaTable blend = interpolate(from, shorter, 0.5F);
    EXPECT_EQ(blend.blue.size(), 200U);
    EXPECT_EQ(blend.red[0], 0.5F);
    EXPECT_EQ(interpolate(from, {}, 0.5F).size(), 0U);
}

TEST(GammaTableTest, ResamplesOverTheWholeRange) {
    const GammaTable curve = table({.gamma = 1.4}, {.dimming = 0.3, .blackPoint = 0.05});
    EXPECT_EQ(resample(curve, 256), curve);
    // 4081 = 255 x 16 + 1: every sixteenth entry is one of ours, so the way back finds the same floats.
    EXPECT_EQ(resample(resample(curve, 4081), 256), curve);
    for (const std::size_t size : {2U, 64U, 1024U, 4096U}) {
        const GammaTable other = resample(curve, size);
        ASSERT_EQ(other.size(), size);
        EXPECT_EQ(other.red.front(), curve.red.front());
        EXPECT_EQ(other.red.back(), curve.red.back());
        EXPECT_TRUE(std::ranges::is_sorted(other.red));
    }
    EXPECT_EQ(resample({{0, 1}, {0, 1}, {0, 1}}, 3).blue, (std::vector<float>{0, 0.5F, 1}));
    EXPECT_EQ(resample(curve, 1).size(), 0U);
    EXPECT_EQ(resample({{1}, {1}, {1}}, 256).size(), 0U);
}

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
