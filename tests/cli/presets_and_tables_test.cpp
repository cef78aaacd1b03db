#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "cli/command_world.h"
#include "filter/preset_json.h"

namespace dravo::testing {
namespace {

using cli::ExitCode;

GammaTable tableFromJson(const std::string& text) {
    const auto json = nlohmann::json::parse(text);
    EXPECT_EQ(json.size(), 3U);
    return {json.at("red").get<std::vector<float>>(), json.at("green").get<std::vector<float>>(),
            json.at("blue").get<std::vector<float>>()};
}

FilterPreset ownPreset() {
    FilterPreset preset = FilterPreset::evening();
    preset.id = "OWN";
    preset.name = "Mein Abend";
    preset.isBuiltIn = false;
    preset.blueFactor = 0.123456789;
    return preset;
}

TEST(PresetsCommandTest, ListsTheBuiltInPresetsAndThenOnesOwn) {
    CommandWorld world;
    world.ownPresets = {ownPreset()};
    const auto listed = decodePresets(world.run({"presets", "--json"}).out);
    ASSERT_TRUE(listed);
    auto expected = FilterPreset::builtIn();
    expected.push_back(ownPreset());
    EXPECT_EQ(*listed, expected);
    EXPECT_NE(world.run({"presets"}).out.find("OWN                Mein Abend"), std::string::npos);
}

TEST(TableCommandTest, PrintsWhatTheDisplaysWouldGetBitForBit) {
    CommandWorld world;
    world.ownPresets = {ownPreset()};
    const FilterPreset own = ownPreset();
    EXPECT_EQ(tableFromJson(world.run({"table", "OWN", "--json"}).out),
              computeTable(own, own.intensity, own.dimming, own.blackPoint, own.contrast));
    const char* const adjusted = "table --intensity 0.3 sunset --json --dimming=0 --contrast -0.25 --black-point 1e-1";
    EXPECT_EQ(tableFromJson(world.run(adjusted).out), computeTable(FilterPreset::sunset(), 0.3, 0, 0.1, -0.25));
    const std::string text = world.run({"table", "fl41"}).out;
    EXPECT_NE(text.find("\n    0  0.0000  0.0000  0.0000\n"), std::string::npos) << text;
    EXPECT_TRUE(text.ends_with("\n  255  0.8725  0.4050  0.3200\n")) << text;
}

TEST(TableCommandTest, TakesAPresetFromAFileOrSaysWhyNot) {
    CommandWorld world;
    const FilterPreset own = ownPreset();
    const std::string good = world.save("good", *encodePreset(own));
    EXPECT_EQ(tableFromJson(world.run({"table", good, "--json"}).out),
              computeTable(own, own.intensity, own.dimming, own.blackPoint, own.contrast));

    for (const std::string& bad : {world.save("bad.json", "{\"id\":\"x\"}"), world.save("empty.json", ""),
                                   (world.folder / "missing.json").string(), world.folder.path().string(),
                                   std::string("/dev/zero"), std::string("missing.json")}) {
        const Outcome outcome = world.run({"table", bad, "--json"});
        EXPECT_EQ(outcome.code, ExitCode::FileTrouble) << bad;
        EXPECT_NE(outcome.err.find(bad), std::string::npos) << outcome.err;
        EXPECT_EQ(outcome.out, "");
    }
}

}  // namespace
}  // namespace dravo::testing
