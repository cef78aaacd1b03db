#include "filter/filter_preset.h"

#include <gtest/gtest.h>

#include <limits>
#include <regex>
#include <set>

#include "base/localized.h"
#include "filter/migraine_precision.h"

namespace dravo {
namespace {

// People's preferences and scripts name them.
TEST(FilterPresetTest, ShipsTwelvePresetsEachUnderItsId) {
    std::string ids;
    for (const FilterPreset& preset : FilterPreset::builtIn()) {
        ids += preset.id + ' ';
        EXPECT_TRUE(preset.isBuiltIn);
        EXPECT_EQ(preset.isGrayscale, preset.id == "epaper");
    }
    EXPECT_EQ(ids,
              "migrainePrecision fl41 greenBand notch480 lowBlue sunset warmRose evening reading gaming eyeComfort "
              "epaper ");
    EXPECT_EQ(FilterPreset::defaultPreset().id, "migrainePrecision");
}

TEST(FilterPresetTest, DerivesMigrainePrecisionFromItsSpectrum) {
    EXPECT_NEAR(migrainePrecisionTransmission(535), 0.725, 1e-12);
    EXPECT_EQ(migrainePrecisionTransmission(100), 0.3);
    EXPECT_EQ(migrainePrecisionTransmission(900), 0.15);
    // A line so narrow that it lies within one step meets the curve's own value.
    EXPECT_NEAR(primaryTransmission(660, 0.01), 0.60, 1e-12);
    const FilterPreset& preset = FilterPreset::migrainePrecision();
    EXPECT_NEAR(preset.redFactor, 0.4053, 5e-5);
    EXPECT_NEAR(preset.greenFactor, 0.4208, 5e-5);
    EXPECT_NEAR(preset.blueFactor, 0.0817, 5e-5);
}

TEST(FilterPresetTest, TranslatesOnlyTheShippedNames) {
    struct Shouting : Localizer {
        [[nodiscard]] std::string text(std::string_view key, std::string_view) const override {
            return "<" + std::string(key) + ">";
        }
    } const shouting;
    installLocalizer(&shouting);
    EXPECT_EQ(FilterPreset::epaper().localizedName(), "<E-Paper>");
    EXPECT_EQ(FilterPreset::fl41().localizedName(), "FL-41");
    FilterPreset renamed = FilterPreset::sunset();
    renamed.name = "Mine";
    EXPECT_EQ(renamed.localizedName(), "<Sunset>");
    EXPECT_EQ((FilterPreset{.id = "sunset", .name = "Sunset"}).localizedName(), "Sunset");
    EXPECT_EQ((FilterPreset{.id = "other", .name = "Sunset", .isBuiltIn = true}).localizedName(), "Sunset");
    installLocalizer(nullptr);
}

TEST(FilterPresetTest, ColoursItsSwatch) {
    EXPECT_FALSE(FilterPreset::epaper().swatchColor());
    FilterPreset odd{.id = "a", .redFactor = 1.5, .greenFactor = 0.1, .blueFactor = -0.2};
    EXPECT_EQ(odd.swatchColor(), (Rgb{1, 0.1, 0}));
    EXPECT_EQ(odd.swatchCacheKey(), "a-1.5-0.1--0.2-false");
    odd.blueFactor = std::numeric_limits<double>::quiet_NaN();
    EXPECT_EQ(odd.swatchColor()->blue, 0.0);
    EXPECT_EQ(FilterPreset::epaper().swatchCacheKey(), "epaper-1-1-1-true");
}

TEST(FilterPresetTest, FindsTheBuiltInBeforeAPersonsOwn) {
    const std::vector<FilterPreset> own{
        {.id = "sunset", .name = "fake"}, {.id = "x", .name = "1"}, {.id = "x", .name = "2"}};
    EXPECT_EQ(findPreset("sunset", own), &FilterPreset::sunset());
    EXPECT_EQ(findPreset("x", own), &own[1]);
    EXPECT_EQ(findPreset("y", own), nullptr);
}

TEST(FilterPresetTest, MakesUuidsForNewPresets) {
    const std::regex form("[0-9A-F]{8}-[0-9A-F]{4}-4[0-9A-F]{3}-[89AB][0-9A-F]{3}-[0-9A-F]{12}");
    std::set<std::string> ids;
    for (int i = 0; i < 100; ++i) {
        const std::string id = newPresetId();
        ids.insert(id);
        EXPECT_TRUE(std::regex_match(id, form)) << id;
    }
    EXPECT_EQ(ids.size(), 100U);
}

}  // namespace
}  // namespace dravo
