#include "app/filter_control.h"

#include <gtest/gtest.h>

#include "filter/preset_json.h"
#include "support/filter_world.h"

namespace dravo::testing {
namespace {

using namespace std::chrono_literals;

class FilterControlTest : public ::testing::Test, protected FilterWorld {
protected:
    Result<ControlAnswer> ask(const ControlRequest& request) { return control.carryOut(request); }
    /// Nothing but this refusal came of it.
    void expectRefused(const ControlRequest& request, ErrorCode code) {
        const auto before = controlStateJson(control.controlState());
        const auto answer = ask(request);
        ASSERT_FALSE(answer);
        EXPECT_EQ(answer.error().code, code) << inEnglish(answer.error().message);
        EXPECT_EQ(controlStateJson(control.controlState()), before);
    }
    ControlState now() { return control.controlState(); }

    int quits = 0;
    Result<void> shown;
    FilterControl control{{start(), preferences, customPresets, breakTimer, locationProvider, displays, grayscaleSwitch,
                           scheduler, calendar, [this] { return shown; }, [this] { ++quits; },
                           [] { return Result<void>(); }, [](const auto&) { return Subscription(); }}};
};

TEST_F(FilterControlTest, MorningIsTheNextEightOClockThatIsMoreThanAnHourAway) {
    constexpr auto kMarch6 = std::chrono::sys_days{std::chrono::year{2024} / 3 / 6};
    calendar.moveTo("Europe/Berlin");
    const struct {
        Duration after;  ///< The midnight of 6 March, in local time.
        int day;
    } rows[] = {{0s, 6}, {6h + 59min + 59s, 6}, {7h, 7}, {7h + 30min, 7}, {8h, 7}, {12h, 7}, {23h + 59min, 7}};
    for (const auto& row : rows) {
        const WallTime start = kMarch6 - 1h + row.after;
        const WallTime end = nextMorning(start, calendar);
        EXPECT_EQ(calendar.fields(end), (LocalFields{2024, 3, row.day, 8, 0, 0})) << row.after / 1s;
    }
    // Summer time begins in the night of the 31st.
    EXPECT_EQ(nextMorning(kMarch6 + 24 * 24h + 20h, calendar), kMarch6 + 25 * 24h + 6h);
    ASSERT_TRUE(ask(request::PauseUntilMorning{}));
    EXPECT_EQ(now().pausedUntil, nextMorning(scheduler.now(), calendar));
}

TEST_F(FilterControlTest, RefusesWhatIsNotThereAndLeavesEverythingAsItWas) {
    expectRefused(request::SelectPreset{"nobody"}, ErrorCode::NotFound);
    expectRefused(request::ExportPresets{{"evening"}}, ErrorCode::NotFound);
    expectRefused(request::ImportPresets{"[{}]"}, ErrorCode::InvalidInput);
    expectRefused(request::SetLocation{LocationSource::zone, {}}, ErrorCode::NotFound);
    expectRefused(request::SetAdjustments{.intensity = 0.1, .dimming = 2}, ErrorCode::InvalidInput);
    expectRefused(request::PauseUntil{scheduler.now()}, ErrorCode::InvalidInput);
    ASSERT_TRUE(ask(request::SwitchOff{}));
    expectRefused(request::PauseFor{1h}, ErrorCode::InvalidInput);
    EXPECT_TRUE(ask(request::Resume{})) << "without a pause it changes nothing";
    EXPECT_FALSE(now().isEnabled);
    shown = Error{ErrorCode::Unsupported, "no panel"};
    EXPECT_EQ(ask(request::Activate{}).error().code, ErrorCode::Unsupported);
}

TEST_F(FilterControlTest, BreaksAreOnWhenTheAnswerComesAndStayAsTheyCount) {
    ASSERT_TRUE(ask(request::SetBreaks{.enabled = true, .intervalMinutes = 20}));
    EXPECT_TRUE(now().breaks.enabled);
    scheduler.advance(5min);
    EXPECT_EQ(notifications.prompts, 1);
    ASSERT_TRUE(ask(request::SetBreaks{.enabled = true}));
    EXPECT_EQ(now().breaks.secondsRemaining, 15 * 60) << "on while on";
    ASSERT_TRUE(ask(request::SetBreaks{.enabled = false}));
    notifications.answerPrompts(true);
    scheduler.advance(1s);
    EXPECT_FALSE(now().breaks.enabled) << "the answer came late";
}

TEST_F(FilterControlTest, TellsOnceOfManyChangesAndNeverOfACountdownsStep) {
    std::vector<int> breakSecondsLeft;
    const auto changes = control.onStateChange([&] { breakSecondsLeft.push_back(now().breaks.breakSecondsLeft); });
    const auto toldWithin = [&](Duration duration) {
        breakSecondsLeft.clear();
        scheduler.advance(duration);
        return breakSecondsLeft;
    };
    ASSERT_TRUE(ask(request::SetBreaks{.enabled = true, .intervalMinutes = 10}));
    ASSERT_TRUE(ask(request::SetAdjustments{.intensity = 0.4, .dimming = 0.1}));
    ASSERT_TRUE(ask(request::SetSchedule{.enabled = true}));
    ASSERT_TRUE(ask(request::Toggle{}));
    EXPECT_EQ(toldWithin(1ms), std::vector{0});
    EXPECT_EQ(toldWithin(9min + 59s), std::vector<int>{});
    EXPECT_EQ(toldWithin(10s), std::vector{20});
    EXPECT_EQ(toldWithin(20s), std::vector{0});
    ASSERT_TRUE(ask(request::SetBreaks{.enabled = false}));
    EXPECT_EQ(toldWithin(7h + 30min), std::vector{0});
    EXPECT_EQ(toldWithin(30min), std::vector{0}) << "the next change moves, and nothing else";
}

TEST_F(FilterControlTest, KeepsScheduleAndPlaceForTheNextRun) {
    ASSERT_TRUE(ask(request::SetLocation{LocationSource::typed, Position{-33.9, 18.4}}));
    ASSERT_TRUE(ask(request::SetSchedule{true, ScheduleMode::customTimes, 1200, 425}));
    EXPECT_FALSE(now().isEnabled) << "it is noon";
    EXPECT_EQ(now().nextChange, (ControlState::NextChange{kNoon + 8h, true}));
    ASSERT_TRUE(ask(request::SetSchedule{.mode = ScheduleMode::sunsetToSunrise}));
    const PreferencesStore next(defaults);
    EXPECT_EQ(next.locationSource(), LocationSource::typed);
    EXPECT_EQ(next.lastLatitude(), -33.9);
    EXPECT_EQ(next.scheduleEndMinutes(), 425);
    EXPECT_EQ(next.scheduleMode(), ScheduleMode::sunsetToSunrise);
    EXPECT_EQ(locationService.permissionRequests, 0) << "a typed place needs no service";
    ASSERT_TRUE(ask(request::SetLocation{LocationSource::service, {}}));
    EXPECT_EQ(locationService.permissionRequests, 1);
}

TEST_F(FilterControlTest, WhatIsImportedOverTheSelectedPresetIsOnScreen) {
    FilterPreset mine{.id = "MINE", .intensity = 0.7};
    for (const double red : {0.5, 0.25}) {
        mine.redFactor = red;
        const auto imported = ask(request::ImportPresets{*encodePreset(mine)});
        ASSERT_TRUE(imported) << inEnglish(imported.error().message);
        EXPECT_EQ(imported->ids, std::vector<std::string>{"MINE"});
        ASSERT_TRUE(ask(request::SelectPreset{"MINE"}));
        scheduler.advance(1s);
        EXPECT_TRUE(showsPreset(mine));
    }
    const auto exported = ask(request::ExportPresets{{"MINE"}});
    EXPECT_EQ(*decodePresets(exported->json), std::vector{mine});
}

TEST_F(FilterControlTest, SaysThatAPresetNeedsTheGrayThatThisDesktopLacks) {
    grayscale.fails = Error{ErrorCode::Unsupported, "no such mode"};
    EXPECT_FALSE(now().lacksGrayscale);
    ASSERT_TRUE(ask(request::SelectPreset{"epaper"}));
    EXPECT_TRUE(now().lacksGrayscale);
    grayscale.fails.reset();
    EXPECT_FALSE(now().lacksGrayscale);
}

TEST_F(FilterControlTest, QuitsBehindItsAnswer) {
    ASSERT_TRUE(ask(request::Quit{}));
    EXPECT_EQ(quits, 0);
    scheduler.advance(0s);
    EXPECT_EQ(quits, 1);
}

}  // namespace
}  // namespace dravo::testing
