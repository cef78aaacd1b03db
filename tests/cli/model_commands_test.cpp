#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "cli/command_world.h"
#include "filter/preset_json.h"
#include "melanopic/melanopic_model.h"

namespace dravo::testing {
namespace {

using cli::ExitCode;

GammaTable tableFromJson(const std::string& text) {
    const auto json = nlohmann::json::parse(text);
    EXPECT_EQ(json.size(), 3U);
    return {json.at("red").get<std::vector<float>>(), json.at("green").get<std::vector<float>>(),
            json.at("blue").get<std::vector<float>>()};
}

const FilterPreset kOwn{.id = "OWN", .name = "Mein Abend", .blueFactor = 0.123456789, .intensity = 0.7};

TEST(PresetsCommandTest, ListsTheBuiltInPresetsAndThenOnesOwn) {
    CommandWorld world;
    world.ownPresets = {kOwn};
    const auto listed = decodePresets(world.run({"presets", "--json"}).out);
    ASSERT_TRUE(listed);
    auto expected = FilterPreset::builtIn();
    expected.push_back(kOwn);
    EXPECT_EQ(*listed, expected);
    EXPECT_NE(world.run({"presets"}).out.find("OWN                Mein Abend"), std::string::npos);
}

TEST(TableCommandTest, PrintsWhatTheDisplaysWouldGetBitForBit) {
    CommandWorld world;
    world.ownPresets = {kOwn};
    EXPECT_EQ(tableFromJson(world.run({"table", "OWN", "--json"}).out), computeTable(kOwn, 0.7, 0, 0, 0));
    const char* const adjusted = "table --intensity 0.3 sunset --json --dimming=0 --contrast -0.25 --black-point 1e-1";
    EXPECT_EQ(tableFromJson(world.run(adjusted).out), computeTable(FilterPreset::sunset(), 0.3, 0, 0.1, -0.25));
    const std::string text = world.run({"table", "fl41"}).out;
    EXPECT_NE(text.find("\n    0  0.0000  0.0000  0.0000\n"), std::string::npos) << text;
    EXPECT_TRUE(text.ends_with("\n  255  0.8725  0.4050  0.3200\n")) << text;
}

TEST(TableCommandTest, TakesAPresetFromAFileOrSaysWhyNot) {
    CommandWorld world;
    const std::string good = world.save("good", *encodePreset(kOwn));
    EXPECT_EQ(tableFromJson(world.run({"table", good, "--json"}).out), computeTable(kOwn, 0.7, 0, 0, 0));

    for (const std::string& bad : {world.save("bad.json", "{\"id\":\"x\"}"), world.save("empty.json", ""),
                                   (world.folder / "missing.json").string(), world.folder.path().string(),
                                   std::string("/dev/zero"), std::string("missing.json")}) {
        const Outcome outcome = world.run({"table", bad, "--json"});
        EXPECT_EQ(outcome.code, ExitCode::FileTrouble) << bad;
        EXPECT_NE(outcome.err.find(bad), std::string::npos) << outcome.err;
        EXPECT_EQ(outcome.out, "");
    }
}

TEST(SunCommandTest, GivesUtcTimesAndLocalMinutesOfTheAskedDay) {
    CommandWorld world;
    const std::string solstice =
        R"({"sunrise":"2024-06-21T03:44:20Z","sunset":"2024-06-21T20:22:37Z","startMinutes":1282,"endMinutes":284})"
        "\n";
    EXPECT_EQ(world.run({"sun", "--latitude", "51.5", "--longitude", "-0.13", "--date", "2024-06-21", "--json"}).out,
              solstice);
    EXPECT_EQ(world.run({"sun", "--date=2024-06-21", "--json"}).out, solstice) << "the zone's place is the same";
    world.now = world.calendar.instant({2024, 6, 21, 23, 30, 0});
    EXPECT_EQ(world.run({"sun", "--json"}).out, solstice);
    EXPECT_EQ(world.run({"sun"}).out, "Sunrise 04:44, sunset 21:22\n");
    world.position = Position{78, 15};
    EXPECT_EQ(world.run({"sun", "--json"}).out, "null\n") << "where the person is known to be";
    EXPECT_EQ(world.run({"sun", "--time-zone", "Europe/London", "--json"}).out, solstice) << "asked for another place";
    EXPECT_EQ(world.run({"sun", "--latitude", "51.5", "--longitude", "-0.13", "--json"}).out, solstice);
    for (const char* const day :
         {"2023-02-29", "2024-6-21", "today", "0000-01-01", "2024-06-21T", "1677-12-31", "2262-01-01", "9999-12-31"}) {
        EXPECT_EQ(world.run({"sun", "--date", day}).code, ExitCode::WrongUsage) << day;
    }
    world.position.reset();
    for (const char* const day : {"1678-01-01", "2261-12-31"}) {
        const std::string times = world.run({"sun", "--date", day, "--json"}).out;
        EXPECT_EQ(times.find(R"({"sunrise":")" + std::string(day) + "T08:0"), 0U) << times;
    }
    EXPECT_EQ(world.run({"sun", "--latitude", "51.5"}).code, ExitCode::WrongUsage);
    EXPECT_EQ(world.run({"sun", "--latitude", "90.1", "--longitude", "0"}).code, ExitCode::WrongUsage);
}

TEST(MelanopicCommandTest, EstimatesTheAdjustedPreset) {
    CommandWorld world;
    const auto json = nlohmann::json::parse(world.run({"melanopic", "sunset", "--json", "--dimming", "0.5"}).out);
    ASSERT_EQ(json.size(), 1U);
    EXPECT_EQ(json["reduction"].get<double>(), melanopicReduction(FilterPreset::sunset(), {1, 0.5, 0.05, 0}));
}

class ExchangeCommandsTest : public ::testing::Test {
protected:
    std::string save(const std::string& text) { return world.save("presets.json", text); }
    std::vector<FilterPreset> stored() {
        return readCustomPresets(world.dataFolder().home).hasValue() ? *readCustomPresets(world.dataFolder().home)
                                                                     : std::vector<FilterPreset>{};
    }
    static FilterPreset preset(const std::string& id) { return {.id = id}; }
    CommandWorld world;
};

TEST_F(ExchangeCommandsTest, ExportedPresetsImportAgain) {
    world.ownPresets = {preset("A"), preset("B"), preset("C")};
    const std::string two = world.run({"export", "C", "A"}).out;
    EXPECT_EQ(world.run({"import", save(two)}).out, "Imported 2 presets: C A\n");
    EXPECT_EQ(stored(), (std::vector{preset("C"), preset("A")}));
    EXPECT_EQ(world.run({"import", save(world.run({"export"}).out)}).code, ExitCode::Ok);
    EXPECT_EQ(stored(), (std::vector{preset("C"), preset("A"), preset("B")}));
    EXPECT_EQ(world.run({"export", "A", "evening"}).code, ExitCode::WrongUsage);
}

TEST_F(ExchangeCommandsTest, ImportsAllOrNothing) {
    FilterPreset tooStrong = preset("TOO-STRONG");
    tooStrong.intensity = 1.5;
    const Outcome outcome = world.run({"import", save(*encodePresets(std::vector{preset("A"), tooStrong}))});
    EXPECT_EQ(outcome.code, ExitCode::FileTrouble);
    EXPECT_NE(outcome.err.find("presets.json: "), std::string::npos) << outcome.err;
    EXPECT_EQ(world.run({"import", save(*encodePreset(preset("evening")))}).code, ExitCode::FileTrouble);
    EXPECT_EQ(world.run({"import", (world.folder / "missing").string()}).code, ExitCode::FileTrouble);
    EXPECT_TRUE(stored().empty());
}

TEST_F(ExchangeCommandsTest, LeavesTheFileToARunningInstance) {
    const std::string file = save(*encodePreset(preset("A")));
    world.control.failure.reset();
    world.control.answer = {{"BY-INSTANCE"}, "[]"};
    EXPECT_EQ(world.run({"import", file}).out, "Imported 1 preset: BY-INSTANCE\n");
    EXPECT_EQ(world.run({"export", "B"}).out, "[]\n");
    EXPECT_TRUE(world.control.asked == (std::vector<ControlRequest>{request::ImportPresets{*encodePreset(preset("A"))},
                                                                    request::ExportPresets{{"B"}}}));
    world.control.failure = Error{ErrorCode::Busy, "it does not answer"};
    EXPECT_EQ(world.run({"import", file}).code, ExitCode::Refused);
    EXPECT_EQ(world.run({"export"}).code, ExitCode::Refused);
    // One that runs and cannot be reached would write its own list over the file.
    world.control.failure = Error{ErrorCode::NotFound, "there is no session bus"};
    world.runningInstanceSays = true;
    EXPECT_EQ(world.run({"import", file}).code, ExitCode::Refused);
    EXPECT_TRUE(stored().empty());
}

}  // namespace
}  // namespace dravo::testing
