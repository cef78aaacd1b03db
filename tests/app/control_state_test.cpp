#include "app/control_state.h"

#include <gtest/gtest.h>

#include <limits>

#include "app/control_service.h"

namespace dravo {
namespace {

using namespace std::chrono_literals;

TEST(ControlStateJsonTest, WritesEveryKeyInOrderOnOneLine) {
    const auto noon = std::chrono::sys_days{std::chrono::year{2026} / 11 / 22} + 12h;
    ControlState state;
    state.isEnabled = true;
    state.preset = "fl41";
    state.intensity = 0.6;
    state.contrast = -0.1;
    state.pausedUntil = noon + 999ms;
    state.melanopicReduction = 43.25;
    state.schedule = {true, ScheduleMode::sunsetToSunrise, 1200, 420};
    state.nextChange = {noon + 6h + 30min + 5s, true};
    state.breaks = {true, 20, 1199, 0};
    state.displays = {{DisplayId{4294967295}, "DP-1", 1024, ""}, {DisplayId{7}, "\xff", 0, "It has no table."}};
    EXPECT_EQ(
        controlStateJson(state),
        R"({"isEnabled":true,"preset":"fl41","intensity":0.6,"dimming":0.0,"blackPoint":0.0,"contrast":-0.1,)"
        R"("isEdited":false,"pausedUntil":"2026-11-22T12:00:00Z","melanopicReduction":43.25,)"
        R"("schedule":{"enabled":true,"mode":"sunsetToSunrise","startMinutes":1200,"endMinutes":420},)"
        R"("nextChange":{"at":"2026-11-22T18:30:05Z","state":"on"},)"
        R"("breaks":{"enabled":true,"intervalMinutes":20,"secondsRemaining":1199},)"
        R"("displays":[{"id":4294967295,"name":"DP-1","tableSize":1024,"state":"ready","problem":null},)"
        "{\"id\":7,\"name\":\"\uFFFD\",\"tableSize\":0,\"state\":\"unsupported\",\"problem\":\"It has no table.\"}]}");
}

TEST(ControlStateJsonTest, WritesNullForWhatIsNot) {
    const auto text = controlStateJson({});
    EXPECT_NE(text.find(R"("pausedUntil":null)"), text.npos) << text;
    EXPECT_NE(text.find(R"("nextChange":null)"), text.npos) << text;
    EXPECT_NE(text.find(R"("displays":[])"), text.npos) << text;
}

TEST(ControlChangeTest, RefusesWhatNoSliderReachesWithTheRangeInTheSentence) {
    constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
    struct Row {
        Result<void> result;
        const char* sentence;  ///< Null: accepted.
    };
    const Row rows[] = {
        {validate(AdjustmentChange{}), nullptr},
        {validate(AdjustmentChange{1, 0.8, 0.2, -0.5}), nullptr},
        {validate(AdjustmentChange{.intensity = kNaN}), "intensity lies from 0 to 1"},
        {validate(AdjustmentChange{.dimming = 0.81}), "dimming lies from 0 to 0.8"},
        {validate(AdjustmentChange{.blackPoint = -0.01}), "blackPoint lies from 0 to 0.2"},
        {validate(AdjustmentChange{.contrast = 0.51}), "contrast lies from -0.5 to 0.5"},
        {validate(ScheduleChange{.startMinutes = 1439, .endMinutes = 0}), nullptr},
        {validate(ScheduleChange{.startMinutes = 1440}), "startMinutes lies from 0 to 1439"},
        {validate(ScheduleChange{.endMinutes = -1}), "endMinutes lies from 0 to 1439"},
        {validate(BreaksChange{.intervalMinutes = 1440}), nullptr},
        {validate(BreaksChange{.intervalMinutes = 0}), "intervalMinutes lies from 1 to 1440"},
        {validate(PauseLength{1s}), nullptr},
        {validate(PauseLength{0s}), "a pause lasts from one second to 366 days"},
        {validate(PauseLength{std::chrono::seconds::max()}), "a pause lasts from one second to 366 days"},
        {validate(LocationChange{LocationSource::typed, Position{-90, 180}}), nullptr},
        {validate(LocationChange{LocationSource::typed, Position{kNaN, 0}}),
         "latitude lies from -90 to 90 and longitude from -180 to 180 degrees"},
        {validate(LocationChange{LocationSource::typed, {}}),
         "a position is given with the source typed, and only with it"},
        {validate(LocationChange{LocationSource::zone, Position{}}),
         "a position is given with the source typed, and only with it"},
    };
    for (const auto& row : rows) {
        if (!row.sentence) {
            EXPECT_TRUE(row.result) << row.result.error().message;
            continue;
        }
        ASSERT_FALSE(row.result) << row.sentence;
        EXPECT_EQ(row.result.error().code, ErrorCode::InvalidInput);
        EXPECT_EQ(row.result.error().message, row.sentence);
    }
}

}  // namespace
}  // namespace dravo
