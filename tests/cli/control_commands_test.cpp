#include <gtest/gtest.h>

#include <algorithm>

#include "cli/command_world.h"
#include "cli/commands.h"

namespace dravo::testing {
namespace {

using cli::ExitCode;
using namespace std::chrono_literals;

/// 19:30 in the zone of these tests, an hour ahead of UTC.
constexpr WallTime kEvening = std::chrono::sys_days{std::chrono::year{2026} / 11 / 22} + 18h + 30min;

ControlState filtering() {
    ControlState state;
    state.isEnabled = true;
    state.preset = "fl41";
    state.intensity = 0.6;
    state.contrast = -0.25;
    state.isEdited = true;
    state.melanopicReduction = 43.25;
    state.schedule = {true, ScheduleMode::customTimes, 20 * 60, 7 * 60 + 5};
    state.nextChange = {kEvening + 12h, false};
    state.breaks = {true, 20, 754, 0};
    state.location = {LocationSource::zone, "available", 52.5, -13.25};
    state.displays = {{DisplayId{7}, "DP-1", 1024, ""}, {DisplayId{8}, "DP-2", 0, "It has no table."}};
    return state;
}

class ControlCommandsTest : public ::testing::Test {
protected:
    void runs() {
        world.control.failure.reset();
        world.control.states = {filtering()};
        world.now = kEvening;
    }
    CommandWorld world;
};

TEST_F(ControlCommandsTest, AskForExactlyWhatTheCommandLineSaysAndKeepSilent) {
    runs();
    using namespace request;
    const std::pair<const char*, ControlRequest> cases[] = {
        {"toggle", Toggle{}},
        {"on", SwitchOn{}},
        {"resume", Resume{}},
        {"quit", Quit{}},
        {"panel", Activate{}},
        {"pause", PauseFor{1h}},
        {"pause --start", PauseFor{1h}},
        {"pause 1h30m", PauseFor{90min}},
        {"pause 1d2h3m4s", PauseFor{26h + 3min + 4s}},
        {"pause morning", PauseUntilMorning{}},
        {"pause 19:31", PauseUntil{kEvening + 1min}},
        {"pause 19:30", PauseUntil{kEvening + 24h}},
        {"pause 7:05", PauseUntil{kEvening + 11h + 35min}},
        {"preset rose", SelectPreset{"rose"}},
        {"set intensity=0.6 dimming=.1", SetAdjustments{.intensity = 0.6, .dimming = 0.1}},
        {"set black-point=0.2 contrast=-0.5 contrast=+0.5", SetAdjustments{.blackPoint = 0.2, .contrast = 0.5}},
        {"revert", RevertToPreset{}},
        {"schedule off", SetSchedule{.enabled = false}},
        {"schedule sun", SetSchedule{.enabled = true, .mode = ScheduleMode::sunsetToSunrise}},
        {"schedule 20:00-7:05", SetSchedule{true, ScheduleMode::customTimes, 1200, 425}},
        {"location 40.7 -.5", SetLocation{LocationSource::typed, Position{40.7, -0.5}}},
        {"location zone", SetLocation{LocationSource::zone, {}}},
        {"break on", SetBreaks{.enabled = true}},
        {"break 45", SetBreaks{.enabled = true, .intervalMinutes = 45}},
        {"break done", DismissBreak{}},
    };
    for (const auto& [line, request] : cases) {
        world.control.asked.clear();
        const Outcome outcome = world.run(line);
        EXPECT_EQ(outcome.code, ExitCode::Ok) << line << outcome.err;
        EXPECT_TRUE(world.control.asked == std::vector<ControlRequest>{request}) << line;
        EXPECT_EQ(outcome.out + outcome.err, "") << line;
    }
}

TEST_F(ControlCommandsTest, RefuseWhatMakesNoSenseBeforeAskingAnybody) {
    runs();
    const std::pair<const char*, const char*> cases[] = {
        {"pause 20", "not '20'"},
        {"pause 99999999999h", "not '99999999999h'"},
        {"pause 0s", "a pause lasts from one second to 366 days"},
        {"set intensity", "adjustments are given as intensity=0.6, not 'intensity'"},
        {"set gamma=1", "nothing to adjust is called 'gamma'"},
        {"set intensity=1 dimming=0.81", "dimming lies from 0 to 0.8"},
        {"set intensity=nan", "this is no number: 'intensity=nan'"},
        {"schedule 20:00", "not '20:00'"},
        {"location 90.1 0", "90"},
        {"location 0 inf", "this is no number of degrees: 'inf'"},
        {"location typed", "not 'typed'"},
        {"break 25", "not '25'"},
    };
    for (const auto& [line, says] : cases) {
        const Outcome outcome = world.run(line);
        EXPECT_EQ(outcome.code, ExitCode::WrongUsage) << line;
        EXPECT_NE(outcome.err.find(says), std::string::npos) << outcome.err;
        EXPECT_EQ(std::ranges::count(outcome.err, '\n'), 1) << outcome.err;
    }
    EXPECT_TRUE(world.control.asked.empty());
}

TEST_F(ControlCommandsTest, StartNothingBesideARunThatNobodyCanAsk) {
    EXPECT_EQ(world.run({"toggle", "--start"}).code, ExitCode::Ok);
    world.runningInstanceSays = true;
    EXPECT_EQ(world.run({"toggle", "--start"}).code, ExitCode::NoInstance);
}

TEST_F(ControlCommandsTest, PutNothingOnATerminalThatItWouldObey) {
    runs();
    world.control.failure = Error{ErrorCode::InvalidInput, "no preset has the id \"a\x1b]0;b\xc2\x9b\xff\n\""};
    EXPECT_EQ(world.run({"preset", "a"}).err,
              "dravo preset: no preset has the id \"a?]0;b???\" (see 'dravo preset --help')\n");
    world.control.failure.reset();
    world.control.states.front().preset = "a\x1b[31m";
    world.control.answer.ids = {"a\rb"};
    EXPECT_EQ(world.run({"preset"}).out, "a?[31m\n");
    EXPECT_NE(world.run({"status"}).out.find("a?[31m (edited)\n"), std::string::npos);
    world.ownPresets = {FilterPreset::evening()};
    world.ownPresets.front().id = "c\x07";
    const std::string file = world.save("one.json", R"([])");
    EXPECT_EQ(world.run({"import", file}).out, "Imported 1 preset: a?b\n");
    EXPECT_NE(world.run({"presets"}).out.find("\nc?  "), std::string::npos);
    EXPECT_NE(world.run({"table", "nothing-like-it"}).err.find(" c? (see"), std::string::npos);
}

TEST_F(ControlCommandsTest, SayWhyNobodyAnsweredOrWhatWasRefused) {
    const char* const all[] = {"status",        "status --follow", "toggle",        "pause 1h", "preset", "preset a",
                               "set dimming=0", "schedule",        "location zone", "break on", "revert", "quit"};
    for (const std::string words : all) {
        const std::string command = words.substr(0, words.find(' '));
        world.control.failure = Error{ErrorCode::NotFound, "Dravo is not running"};
        const Outcome outcome = world.run(words.c_str());
        EXPECT_EQ(outcome.code, ExitCode::NoInstance) << words;
        EXPECT_EQ(outcome.err, "dravo " + command + ": Dravo is not running\n");
        world.control.failure = Error{ErrorCode::Busy, "Dravo is running and does not answer"};
        EXPECT_EQ(world.run(words.c_str()).code, ExitCode::Refused) << words;
    }
    world.control.failure = Error{ErrorCode::InvalidInput, "the filter is off; there is nothing to pause"};
    EXPECT_EQ(world.run({"pause"}).code, ExitCode::Refused);
}

TEST_F(ControlCommandsTest, ShowTheStateToAPerson) {
    runs();
    EXPECT_EQ(world.run({"status"}).out,
              "Filter           on\n"
              "Preset           fl41 (edited)\n"
              "Intensity        0.60\n"
              "Dimming          0.00\n"
              "Black point      0.00\n"
              "Contrast         -0.25\n"
              "Melanopic light  reduced by 43%\n"
              "Schedule         20:00-07:05\n"
              "Next change      off at 2026-11-23 07:30\n"
              "Breaks           every 20 minutes, next in 12:34\n"
              "Display          DP-1 ready\n"
              "Display          DP-2 unsupported: It has no table.\n");
    EXPECT_EQ(world.run({"preset"}).out, "fl41\n");
    EXPECT_EQ(world.run({"schedule"}).out, "20:00-07:05\n");
    EXPECT_EQ(world.run({"location"}).out, "52.5 -13.25 (approximate, from the time zone)\n");
    EXPECT_EQ(world.run({"break"}).out, "every 20 minutes, next in 12:34\n");

    auto& state = world.control.states.front();
    state.isEnabled = false;
    state.pausedUntil = kEvening + 90min;
    state.schedule.mode = ScheduleMode::sunsetToSunrise;
    state.location = {LocationSource::service, "denied", {}, {}};
    state.breaks.breakSecondsLeft = 7;
    const std::string paused = world.run({"status"}).out;
    for (const char* const line : {"paused until 21:00\n", "Schedule         sun\n", "Breaks           rest now, 7 s\n",
                                   "Location         unknown (location service, which gives no position)\n"})
        EXPECT_NE(paused.find(line), std::string::npos) << paused;
    EXPECT_EQ(paused.find("grayscale"), std::string::npos) << paused;
    state.lacksGrayscale = true;
    EXPECT_NE(world.run({"status"})
                  .out.find("fl41 (edited)\nPreset           This preset needs a grayscale mode, which this desktop "
                            "does not have.\n"),
              std::string::npos);
}

TEST_F(ControlCommandsTest, ShowTheStateToAProgram) {
    runs();
    const std::string json = controlStateJson(filtering()) + "\n";
    for (const char* const line : {"status --json", "toggle --json", "set --json dimming=0", "preset --json"})
        EXPECT_EQ(world.run(line).out, json) << line;
    EXPECT_EQ(world.run({"location", "--json"}).out,
              R"({"source":"zone","status":"available","latitude":52.5,"longitude":-13.25})"
              "\n");
    world.control.states.front().location = {};
    EXPECT_EQ(world.run({"location", "service", "--json"}).out,
              R"({"source":"service","status":"idle","latitude":null,"longitude":null})"
              "\n");
}

TEST_F(ControlCommandsTest, SpeakThePersonsLanguageButNotInJson) {
    struct Foreign : Localizer {
        std::string text(std::string_view, std::string_view english) const override {
            return "<" + std::string(english) + ">";
        }
    } foreign;
    runs();
    for (const std::string line : {"status", "location", "break", "displays", "presets", "sun", "table fl41",
                                   "melanopic fl41", "--help", "help set", "togle"}) {
        const bool hasJson = line.find("hel") == std::string::npos && line != "togle";
        for (const std::string& command : {line, hasJson ? line + " --json" : line}) {
            const Outcome english = world.run(command.c_str());
            const InstalledLocalizer installed(foreign);
            const Outcome translated = world.run(command.c_str());
            EXPECT_EQ(translated.code, english.code) << command;
            EXPECT_EQ(translated.out + translated.err == english.out + english.err, command.ends_with("--json"))
                << translated.out;
        }
    }
}

TEST_F(ControlCommandsTest, FollowPrintsALineForEachChangeButNoneForACountdown) {
    runs();
    ControlState later = filtering();
    later.breaks.secondsRemaining = 700;
    ControlState off = later;
    off.isEnabled = false;
    world.control.states = {filtering(), later, off};
    EXPECT_EQ(world.run({"status", "--follow", "--json"}).out,
              controlStateJson(filtering()) + "\n" + controlStateJson(off) + "\n");
    const std::string lines = world.run({"status", "--follow"}).out;
    EXPECT_EQ(std::ranges::count(lines, '\n'), 2) << lines;
    EXPECT_TRUE(lines.starts_with("Filter on; Preset fl41 (edited); Intensity 0.60; ")) << lines;
    EXPECT_NE(lines.find("\nFilter off; "), std::string::npos) << lines;
}

}  // namespace
}  // namespace dravo::testing
