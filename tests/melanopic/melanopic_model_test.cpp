#include "melanopic/melanopic_model.h"

#include <gtest/gtest.h>

#include <random>

namespace dravo {
namespace {

double efficiency(std::initializer_list<SpectralPeak> spectrum) {
    return melanopicEfficiency({spectrum.begin(), spectrum.size()}, 380, 780, 1);
}

TEST(MelanopicModelTest, FollowsTheSensitivityCurve) {
    EXPECT_NEAR(melanopicSensitivity(492.5), 0.9595, 1e-12);
    EXPECT_EQ(melanopicSensitivity(300), 0.0003);
    EXPECT_EQ(melanopicSensitivity(781), 0.0);
    // One rise to the peak at 490 nm and one fall: a slip in the table would show as a dent.
    for (int wavelength = 380; wavelength < 780; ++wavelength) {
        if (wavelength < 490)
            EXPECT_LE(melanopicSensitivity(wavelength), melanopicSensitivity(wavelength + 1)) << wavelength;
        else
            EXPECT_GE(melanopicSensitivity(wavelength), melanopicSensitivity(wavelength + 1)) << wavelength;
    }
}

TEST(MelanopicModelTest, WeighsThePrimaries) {
    EXPECT_NEAR(efficiency({{630, 1, 20}}), 0.0179430, 5e-8);
    EXPECT_NEAR(efficiency({{530, 1, 30}}), 0.5938301, 5e-8);
    EXPECT_NEAR(efficiency({{455, 1, 20}}), 0.5508815, 5e-8);
    // Amplitude alone changes nothing; two equal bells weigh the mean of the two.
    EXPECT_NEAR(efficiency({{530, 7, 30}}), efficiency({{530, 1, 30}}), 1e-12);
    EXPECT_NEAR(efficiency({{500, 1, 10}, {600, 1, 10}}), (efficiency({{500, 1, 10}}) + efficiency({{600, 1, 10}})) / 2,
                1e-9);
    EXPECT_EQ(efficiency({}), 0.0);
    EXPECT_EQ(efficiency({{530, 0, 30}}), 0.0);
    // The last wavelength counts, the first one too.
    EXPECT_EQ(melanopicEfficiency(std::initializer_list<SpectralPeak>{{490, 1, 1e9}}, 490, 490, 1), 0.964);
}

TEST(MelanopicModelTest, ReportsTheReductionOfAWhiteScreen) {
    EXPECT_EQ(melanopicReduction(Rgb{1, 1, 1}), 0.0);
    EXPECT_EQ(melanopicReduction(Rgb{0, 0, 0}), 100.0);
    EXPECT_NEAR(melanopicReduction(Rgb{1, 0, 0}), 98.46, 0.005);
    EXPECT_EQ(melanopicReduction(FilterPreset{}, {}), 0.0);
    EXPECT_NEAR(melanopicReduction(FilterPreset::migrainePrecision(), {.intensity = 1.0}), 74.01, 0.005);
    EXPECT_EQ(melanopicReduction(FilterPreset::epaper(), {}), 0.0);
}

TEST(MelanopicModelTest, JudgesTheLastEntryOfTheTable) {
    std::mt19937 random(4);
    std::uniform_real_distribution<double> unit(0, 1);
    for (int round = 0; round < 300; ++round) {
        FilterPreset preset = FilterPreset::builtIn()[random() % 12];
        preset.gamma = 0.5 + unit(random);
        preset.colorTemperature = 2700 + 8000 * unit(random);
        const Adjustments wanted{unit(random), unit(random), unit(random), unit(random) * 2 - 1};
        const double reduction = melanopicReduction(preset, wanted);
        EXPECT_GE(reduction, 0.0);
        EXPECT_LE(reduction, 100.0);
        const GammaTable table =
            computeTable(preset, wanted.intensity, wanted.dimming, wanted.blackPoint, wanted.contrast);
        EXPECT_NEAR(reduction, melanopicReduction(Rgb{table.red[255], table.green[255], table.blue[255]}), 1e-5);
    }
}

}  // namespace
}  // namespace dravo
