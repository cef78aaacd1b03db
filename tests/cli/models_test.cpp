#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "cli/command_world.h"
#include "filter/preset_json.h"
#include "melanopic/melanopic_model.h"

namespace dravo::testing {
namespace {

using cli::ExitCode;

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
    static FilterPreset preset(const std::string& id) {
        FilterPreset result = FilterPreset::evening();
        result.id = id;
        result.isBuiltIn = false;
        return result;
    }
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
