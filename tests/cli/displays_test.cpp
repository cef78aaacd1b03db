#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "cli/command_world.h"

namespace dravo::testing {
namespace {

using cli::ExitCode;

class DisplayCommandsTest : public ::testing::Test {
protected:
    /// Tints a CRTC as a run does that has come to a bad end.
    void tint(CrtcId crtc) {
        const auto size = world.desk.held(crtc).size();
        world.desk.foreignWrite(crtc, toLevels(computeTable(FilterPreset::sunset(), 1, 0, 0, 0), size));
    }

    RampLevels neutral(std::size_t size) { return toLevels(GammaTable::identity(), size); }

    CommandWorld world;
};

TEST_F(DisplayCommandsTest, ListsWhatEachDisplayHoldsInOneLineEach) {
    const CrtcId plain = world.desk.addCrtc(256);
    world.desk.plug("DP-1", plain);
    world.desk.plug("Virtual-10", world.desk.addCrtc(0));
    world.desk.plug("HDMI-1", world.desk.addCrtc(1024));
    RampLevels warm = neutral(256);
    warm.green.back() = 0x8000;
    warm.blue.back() = 0;
    world.desk.foreignWrite(plain, warm);

    const std::string text = world.run({"displays"}).out;
    EXPECT_NE(text.find("white #ff8000 (1.000 0.500 0.000)\n"), std::string::npos) << text;
    EXPECT_NE(text.find("  1024 entries  ready        white #ffffff (1.000 1.000 1.000)\n"), std::string::npos) << text;

    const auto json = nlohmann::json::parse(world.run({"displays", "--json"}).out);
    EXPECT_EQ(json["backend"], "memory");
    EXPECT_EQ(json["lacksGrayscale"], false);
    ASSERT_EQ(json["displays"].size(), 3U);
    for (const auto& display : json["displays"]) {
        ASSERT_EQ(display.size(), 6U);
        EXPECT_NE(display["id"].get<std::uint32_t>(), 0U);
        const bool isUnsupported = display["name"] == "Virtual-10";
        EXPECT_EQ(display["state"], isUnsupported ? "unsupported" : "ready");
        EXPECT_EQ(display["problem"].is_string(), isUnsupported);
        EXPECT_EQ(display["white"].is_null(), isUnsupported);
        if (display["name"] == "DP-1") {
            EXPECT_EQ(display["tableSize"], 256);
            EXPECT_EQ(display["white"][1].get<float>(), 0x8000 / 65535.0f);
        }
    }
}

TEST_F(DisplayCommandsTest, SayThatThePresetInUseNeedsTheGrayThatIsMissing) {
    world.runningInstanceSays = true;
    world.control.failure.reset();
    world.control.states.front().lacksGrayscale = true;
    EXPECT_TRUE(world.run({"displays"})
                    .out.ends_with("\nThis preset needs a grayscale mode, which this desktop does not have.\n"));
    EXPECT_EQ(nlohmann::json::parse(world.run({"displays", "--json"}).out)["lacksGrayscale"], true);
}

TEST_F(DisplayCommandsTest, TellMissingLostAndRefusingServersApart) {
    const CrtcId crtc = world.desk.addCrtc(256);
    world.desk.plug("DP-1", crtc);
    tint(crtc);
    world.desk.refusesWriting = true;
    EXPECT_EQ(world.run({"restore"}).code, ExitCode::Refused);
    EXPECT_EQ(world.run({"restore"}).out, "");
    world.desk.refusesWriting = false;
    world.desk.shutDown();
    EXPECT_EQ(world.run({"displays"}).code, ExitCode::NoDisplayServer);
    EXPECT_EQ(world.run({"restore"}).code, ExitCode::NoDisplayServer);
    world.hasDisplayServer = false;
    EXPECT_EQ(world.run({"displays"}).code, ExitCode::NoDisplayServer);
    EXPECT_EQ(world.run({"displays"}).err, "dravo displays: no display server to talk to\n");
}

TEST_F(DisplayCommandsTest, RestoreGivesSavedTablesThenProfilesThenNeutral) {
    GammaTable profile = GammaTable::identity();
    for (float& level : profile.blue) level *= 0.9f;
    RampLevels calibrated = neutral(1024);
    calibrated.red[700] = 1234;
    const CrtcId saved = world.desk.addCrtc(1024);
    const CrtcId profiled = world.desk.addCrtc(256);
    const CrtcId plain = world.desk.addCrtc(256);
    world.desk.plug("DP-1", saved);
    world.desk.foreignWrite(saved, calibrated);
    {
        memory::MemoryTableDevice device(world.desk);
        memory::VirtualScheduler scheduler;
        OriginalGammaStore store(world.dataFolder());
        RememberedDisplays(device, store, scheduler).begin(LastingDisplays::Beginning::afresh);
    }
    world.desk.plug("DP-2", profiled, {}, profile);
    world.desk.plug("DP-3", plain);
    for (const CrtcId crtc : {saved, profiled, plain}) tint(crtc);
    world.desk.unplug("DP-1");

    EXPECT_EQ(world.run({"restore"}).out, "DP-2: has its colour profile's calibration\nDP-3: has a neutral table\n");
    EXPECT_EQ(world.desk.held(profiled), toLevels(profile, 256));
    EXPECT_EQ(world.desk.held(plain), neutral(256));

    world.desk.plug("DP-1", saved);
    tint(saved);
    const Outcome outcome = world.run({"restore"});
    EXPECT_EQ(outcome.code, ExitCode::Ok);
    EXPECT_NE(outcome.out.find("DP-1: has its own table back, as saved\n"), std::string::npos)
        << "the table of an absent display must have stayed in the file\n"
        << outcome.out;
    EXPECT_EQ(world.desk.held(saved), calibrated);
    EXPECT_FALSE(std::filesystem::exists(world.dataFolder().home / "original_gamma.json"));
}

}  // namespace
}  // namespace dravo::testing
