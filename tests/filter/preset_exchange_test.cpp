#include "filter/preset_exchange.h"

#include <gtest/gtest.h>

#include "filter/adjustment_ranges.h"
#include "filter/preset_json.h"

namespace dravo {
namespace {

FilterPreset own(const std::string& id, const std::string& name = "") { return {.id = id, .name = name}; }

std::string textOf(const std::vector<FilterPreset>& presets) { return encodePresets(presets).value(); }

TEST(PresetExchangeTest, TakesAnArrayOrOnePresetAndMakesThemAPersonsOwn) {
    FilterPreset claimed = own("a", "A");
    claimed.isBuiltIn = true;
    claimed.isGrayscale = true;
    const auto many = importPresets("\n" + textOf({claimed, own("b")}));
    ASSERT_TRUE(many) << inEnglish(many.error().message);
    claimed.isBuiltIn = false;
    EXPECT_EQ(*many, (std::vector<FilterPreset>{claimed, own("b")}));
    const auto one = importPresets(" \t" + encodePreset(own("a")).value());
    ASSERT_TRUE(one);
    EXPECT_EQ(*one, std::vector<FilterPreset>{own("a")});
    EXPECT_TRUE(importPresets("[]")->empty());
}

TEST(PresetExchangeTest, HoldsNumbersToTheSlidersRangesBothEndsIncluded) {
    const struct {
        double FilterPreset::*member;
        double lowest;
        double highest;
        const char* said;
    } rows[] = {
        {&FilterPreset::redFactor, 0, 1, "\"redFactor\" is -0.001, it must be from 0 to 1"},
        {&FilterPreset::intensity, 0, 1, "\"intensity\""},
        {&FilterPreset::dimming, 0, 0.8, "\"dimming\""},
        {&FilterPreset::blackPoint, 0, 0.2, "\"blackPoint\""},
        {&FilterPreset::gamma, 0.5, 2, "\"gamma\""},
        {&FilterPreset::contrast, -0.5, 0.5, "\"contrast\" is -0.501, it must be from -0.5 to 0.5"},
        {&FilterPreset::colorTemperature, 2700, 6500, "\"colorTemperature\""},
        {&FilterPreset::blueIntensity, 0, 1, "\"blueIntensity\""},
    };
    for (const auto& row : rows) {
        FilterPreset preset = own("a");
        for (const double inside : {row.lowest, row.highest}) {
            preset.*row.member = inside;
            EXPECT_TRUE(importPresets(textOf({preset}))) << row.said;
        }
        preset.*row.member = row.highest + 0.001;
        EXPECT_FALSE(importPresets(textOf({preset}))) << row.said;
        preset.*row.member = row.lowest - 0.001;
        const auto refused = importPresets(textOf({own("b"), preset}));
        ASSERT_FALSE(refused) << row.said;
        EXPECT_NE(inEnglish(refused.error().message).find(std::string("preset 2: ") + row.said), std::string::npos)
            << inEnglish(refused.error().message);
    }
}

TEST(PresetExchangeTest, AcceptsEveryShippedPresetUnderAnotherId) {
    for (FilterPreset preset : FilterPreset::builtIn()) {
        const auto refused = importPresets(textOf({preset}));
        ASSERT_FALSE(refused);
        EXPECT_NE(inEnglish(refused.error().message).find(preset.id), std::string::npos);
        preset.id = "copy";
        EXPECT_TRUE(importPresets(textOf({preset}))) << preset.name;
    }
}

TEST(PresetExchangeTest, RefusesAllForOneBrokenPreset) {
    EXPECT_FALSE(importPresets(textOf({own("a"), own("")})));
    EXPECT_FALSE(importPresets("[" + encodePreset(own("a")).value() + ",{}]"));
    EXPECT_FALSE(importPresets("{\"id\":\"a\"}"));
    EXPECT_FALSE(importPresets("   "));
}

TEST(PresetExchangeTest, MergesByIdKeepingTheOrder) {
    const auto merged = mergePresets({own("a", "1"), own("b", "1"), own("a", "2")},
                                     std::vector<FilterPreset>{own("c", "3"), own("a", "3"), own("c", "4")});
    EXPECT_EQ(merged, (std::vector<FilterPreset>{own("a", "3"), own("b", "1"), own("a", "2"), own("c", "4")}));
}

}  // namespace
}  // namespace dravo
