#include "app/control_state.h"

#include <gtest/gtest.h>

#include <limits>

#include "app/control_request.h"

namespace dravo {
namespace {

using namespace std::chrono_literals;

TEST(ControlStateJsonTest, WritesEveryKeyInOrderOnOneLine) {
    const auto noon = std::chrono::sys_days{std::chrono::year{2026} / 11 / 22} + 12h;
    ControlState state;
    for (const char* const nothing : {R"("pausedUntil":null,)", R"("nextChange":null,)", R"("displays":[],)"})
        EXPECT_NE(controlStateJson(state).find(nothing), std::string::npos) << nothing;
    state.pausedUntil = noon + 999ms;
    state.melanopicReduction = 43.25;
    state.schedule = {true, ScheduleMode::sunsetToSunrise, 1200, 420};
    state.nextChange = {noon + 6h + 30min + 5s, true};
    state.breaks = {true, 20, 1199, 0};
    state.displays = {{DisplayId{4294967295}, "DP-1", 1024, ""}, {DisplayId{7}, "\xff", 0, "It has no table."}};
    EXPECT_EQ(
        controlStateJson(state),
        R"({"isEnabled":false,"preset":"","intensity":0.0,"dimming":0.0,"blackPoint":0.0,"contrast":0.0,)"
        R"("isEdited":false,"pausedUntil":"2026-11-22T12:00:00Z","melanopicReduction":43.25,)"
        R"("schedule":{"enabled":true,"mode":"sunsetToSunrise","startMinutes":1200,"endMinutes":420},)"
        R"("nextChange":{"at":"2026-11-22T18:30:05Z","state":"on"},)"
        R"("breaks":{"enabled":true,"intervalMinutes":20,"secondsRemaining":1199},)"
        R"("displays":[{"id":4294967295,"name":"DP-1","tableSize":1024,"state":"ready","problem":null},)"
        "{\"id\":7,\"name\":\"\uFFFD\",\"tableSize\":0,\"state\":\"unsupported\",\"problem\":\"It has no table.\"}],"
        R"("lacksGrayscale":false})");
}

TEST(ControlRequestTest, RefusesWhatNoSliderReachesWithTheRangeInTheSentence) {
    constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
    const std::string pause = "a pause lasts from one second to 366 days";
    const std::string source = "a position is given with the source typed, and only with it";
    using namespace request;
    const std::pair<ControlRequest, std::string> rows[] = {
        {SetAdjustments{}, ""},
        {SetAdjustments{1, 0.8, 0.2, -0.5}, ""},
        {SetAdjustments{.intensity = kNaN}, "intensity lies from 0 to 1"},
        {SetAdjustments{.dimming = 0.81}, "dimming lies from 0 to 0.8"},
        {SetAdjustments{.blackPoint = -0.01}, "blackPoint lies from 0 to 0.2"},
        {SetAdjustments{.contrast = 0.51}, "contrast lies from -0.5 to 0.5"},
        {SetSchedule{.startMinutes = 1439, .endMinutes = 0}, ""},
        {SetSchedule{.startMinutes = 1440}, "startMinutes lies from 0 to 1439"},
        {SetSchedule{.endMinutes = -1}, "endMinutes lies from 0 to 1439"},
        {SetBreaks{.intervalMinutes = 1440}, ""},
        {SetBreaks{.intervalMinutes = 0}, "intervalMinutes lies from 1 to 1440"},
        {PauseFor{1s}, ""},
        {PauseFor{0s}, pause},
        {PauseFor{std::chrono::seconds::max()}, pause},
        {SetLocation{LocationSource::typed, Position{-90, 180}}, ""},
        {SetLocation{LocationSource::typed, Position{kNaN, 0}},
         "latitude lies from -90 to 90 and longitude from -180 to 180 degrees"},
        {SetLocation{LocationSource::typed, {}}, source},
        {SetLocation{LocationSource::zone, Position{}}, source},
    };
    for (const auto& [request, sentence] : rows) {
        const auto result = validate(request);
        EXPECT_EQ(result ? std::string() : inEnglish(result.error().message), sentence);
        EXPECT_TRUE(result || result.error().code == ErrorCode::InvalidInput);
    }
}

}  // namespace
}  // namespace dravo
