#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "cli/command_world.h"

namespace dravo::testing {
namespace {

using cli::ExitCode;

TEST(DoctorCommandTest, TellsWhatWorksWhatDoesNotAndWhatToDo) {
    CommandWorld world;
    world.reports = {{kDisplayPort, "DP-\x1b[1m", {"x11"}}, {kLoginPort, {}, {"autostart"}}};
    const Outcome healthy = world.run("doctor");
    EXPECT_EQ(healthy.code, ExitCode::Ok);
    EXPECT_EQ(healthy.out, "✓ DP-?[1m (x11)\n✓ Launch at Login (autostart)\n");

    world.reports.push_back(
        {kNeighbourPort,
         {},
         {{}, Sentence{textKey("%@ tints, too"), {"it"}}, Sentence{textKey("Stop it")}, "pkill -x it"}});
    const Outcome ill = world.run("doctor");
    EXPECT_EQ(ill.code, ExitCode::SomethingFails);
    EXPECT_TRUE(ill.out.ends_with("✗ Other programs: it tints, too\n    Stop it\n    $ pkill -x it\n")) << ill.out;

    const Outcome forPrograms = world.run("doctor --json");
    EXPECT_EQ(forPrograms.code, ExitCode::SomethingFails);
    const auto json = nlohmann::json::parse(forPrograms.out);
    EXPECT_EQ(json["works"], false);
    ASSERT_EQ(json["ports"].size(), 3U);
    EXPECT_EQ(json["ports"][1]["port"], "login");
    EXPECT_TRUE(json["ports"][1]["problem"].is_null());
    const auto& last = json["ports"][2];
    EXPECT_EQ(last["port"], "neighbour");
    EXPECT_EQ(last["problem"]["key"], "%@ tints, too");
    EXPECT_EQ(last["problem"]["sentence"], "it tints, too");
    EXPECT_EQ(last["command"], "pkill -x it");
}

/// A server that gives each display to one program.
class ExclusiveDisplaysTest : public ::testing::Test {
protected:
    ExclusiveDisplaysTest() {
        world.isExclusive = true;
        world.hasDisplayServer = false;  // a command that connects all the same finds nothing
    }
    CommandWorld world;
};

TEST_F(ExclusiveDisplaysTest, ARunningProgramTellsWhatTheyHold) {
    world.runningInstanceSays = true;
    world.control.failure.reset();
    world.control.answer.backend = "wlr";
    world.control.answer.displays = {{{DisplayId{7}, "DP-1", 256, DisplayState::ready, {}}, GammaTable::identity()}};
    const Outcome outcome = world.run("displays");
    EXPECT_EQ(outcome.code, ExitCode::Ok);
    EXPECT_EQ(outcome.out, "wlr  DP-1  ID 7  256 entries  ready  white #ffffff (1.000 1.000 1.000)\n");
}

TEST_F(ExclusiveDisplaysTest, WithoutOneTheCommandTakesNoneAndSaysSo) {
    EXPECT_EQ(world.run("displays").code, ExitCode::Refused);
    EXPECT_NE(world.run("displays").err.find("would take them"), std::string::npos);
    world.runningInstanceSays = true;
    world.control.failure = Error{ErrorCode::Busy, "Dravo is running and does not answer"};
    const Outcome hung = world.run("displays");
    EXPECT_EQ(hung.code, ExitCode::Refused);
    EXPECT_EQ(hung.err, "dravo displays: Dravo is running and does not answer\n");
}

}  // namespace
}  // namespace dravo::testing
