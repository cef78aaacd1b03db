#include "controller/filter_state.h"

#include <gtest/gtest.h>

#include "support/filter_world.h"

namespace dravo {
namespace {

using namespace std::chrono_literals;
using testing::FilterWorld;

WallTime at(int hour, int minute = 0, int day = 6) {
    return WallTime{std::chrono::sys_days{std::chrono::year{2024} / 3 / day} + std::chrono::hours{hour} +
                    std::chrono::minutes{minute}};
}

/// A schedule from 20:00 to 07:00, in UTC.
DefaultsValues nightSchedule() { return {{"scheduleEnabled", true}}; }

TEST(FilterStateTest, FiltersAtOnceAsWasStoredAndStoresNothing) {
    const struct {
        DefaultsValues stored;
        const char* preset;
        bool isOn;
        Adjustments adjustments;
    } rows[] = {
        {{}, "migrainePrecision", true, {0.8, 0, 0, 0}},
        {{{"lastPresetID", std::string("fl41")}, {"lastIntensity", 0.25}, {"lastContrast", -0.1}},
         "fl41",
         true,
         {0.25, 0, 0, -0.1}},
        {{{"lastPresetID", std::string("deleted")}, {"lastDimming", 0.3}}, "migrainePrecision", true, {0.8, 0.3, 0, 0}},
        {{{"filterEnabled", false}, {"lastBlackPoint", 0.1}}, "migrainePrecision", false, {0.8, 0, 0.1, 0}},
        // What no slider can be at is held to what it can.
        {{{"lastIntensity", 7.5}, {"lastDimming", 0.9}, {"lastBlackPoint", -1.0}, {"lastContrast", -3.0}},
         "migrainePrecision",
         true,
         {1, 0.8, 0, -0.5}},
        // The schedule decides, not what was stored by hand.
        {{{"filterEnabled", true}, {"scheduleEnabled", true}}, "migrainePrecision", false, {0.8, 0, 0, 0}},
        {{{"filterEnabled", false}, {"scheduleEnabled", true}, {"scheduleStartMinutes", std::int64_t{11 * 60}}},
         "migrainePrecision",
         true,
         {0.8, 0, 0, 0}},
    };
    for (const auto& row : rows) {
        FilterWorld world(row.stored);
        const FilterState& state = world.start();
        EXPECT_EQ(state.selectedPreset.get().id, row.preset);
        EXPECT_EQ(state.isEnabled.get(), row.isOn);
        EXPECT_EQ(state.adjustments(), row.adjustments);
        EXPECT_TRUE(row.isOn ? world.showsFilter() : world.showsOwn());
        EXPECT_EQ(world.loads(), row.isOn ? 1u : 0u) << "and no fade";
        world.scheduler.advance(5s);
        EXPECT_EQ(world.defaults.writes(), 0);
    }
}

TEST(FilterStateTest, AStoredPauseGoesOnAndEndsByItself) {
    FilterWorld world({{"pausedUntil", at(12, 30)}, {"filterEnabled", false}});
    FilterState& state = world.start();
    EXPECT_FALSE(state.isEnabled);
    EXPECT_EQ(state.pausedUntil.get(), at(12, 30));
    world.scheduler.advance(30min - 1s);
    EXPECT_FALSE(state.isEnabled);
    world.scheduler.advance(2s);
    EXPECT_TRUE(state.isEnabled);
    EXPECT_TRUE(world.showsFilter());
    EXPECT_FALSE(world.defaults.object("pausedUntil"));

    FilterWorld late({{"pausedUntil", at(11)}});
    EXPECT_TRUE(late.start().isEnabled);
    EXPECT_FALSE(late.defaults.object("pausedUntil"));
}

TEST(FilterStateTest, AHandToggleRightAfterAStartInsideAPauseIsNotUndone) {
    DefaultsValues stored = nightSchedule();
    stored["pausedUntil"] = at(12, 30);
    FilterWorld world(stored);
    FilterState& state = world.start();
    world.scheduler.advance(10s);
    state.toggle();
    world.scheduler.advance(1min);
    EXPECT_TRUE(state.isEnabled);
}

TEST(FilterStateTest, SelectingAPresetCopiesItsAdjustmentsAndFades) {
    FilterWorld world;
    FilterState& state = world.start();
    world.loads();
    state.intensity = 0.3;
    state.selectedPreset = FilterPreset::sunset();
    EXPECT_EQ(state.intensity.get(), FilterPreset::sunset().intensity);
    world.scheduler.advance(1s);
    EXPECT_TRUE(world.showsFilter());
    EXPECT_EQ(world.loads(), 10u);
    EXPECT_EQ(world.preferences.lastPresetID(), "sunset");

    // The same one again copies nothing, and nothing is loaded.
    state.dimming = 0.2;
    world.scheduler.advance(1s);
    world.loads();
    state.selectedPreset = FilterPreset::sunset();
    world.scheduler.advance(1s);
    EXPECT_EQ(state.dimming.get(), 0.2);
    EXPECT_EQ(world.loads(), 0u);

    // A slider moved afterwards does not fade.
    state.dimming = 0.1;
    world.scheduler.advance(1s);
    EXPECT_EQ(world.loads(), 1u);
}

TEST(FilterStateTest, TheVeryFirstChoiceCountsAlsoIfItIsTheRestoredPreset) {
    FilterWorld world({{"lastPresetID", std::string("fl41")}, {"lastIntensity", 0.25}});
    FilterState& state = world.start();
    state.selectedPreset = FilterPreset::fl41();
    EXPECT_EQ(state.intensity.get(), FilterPreset::fl41().intensity);
    EXPECT_FALSE(state.isEdited());
}

TEST(FilterStateTest, ASliderDraggedFastLoadsTwentyTimesASecondAndIsStoredOnce) {
    FilterWorld world;
    FilterState& state = world.start();
    world.loads();
    int writes = world.defaults.writes();
    for (int step = 1; step <= 5000; ++step) {
        state.dimming = 0.8 * step / 5000;
        world.scheduler.advance(1ms);
    }
    EXPECT_LE(world.loads(), 102u);
    world.scheduler.advance(60ms);
    EXPECT_TRUE(world.showsFilter());
    EXPECT_EQ(world.defaults.writes(), writes);
    world.scheduler.advance(500ms);
    EXPECT_EQ(world.preferences.lastDimming(), 0.8);
    writes = world.defaults.writes() - writes;
    world.scheduler.advance(10s);
    EXPECT_EQ(writes, 5);  // the five settings, once each
}

TEST(FilterStateTest, TellsThatItsNextChangeMovesWhenNothingElseDoes) {
    const struct {
        const char* what;
        void (*begin)(FilterState&);
        void (*happen)(FilterWorld&);
        WallTime at;
        bool turnsOn;
    } rows[] = {
        {"the window begins under a hand toggle", [](auto& state) { state.toggle(); },
         [](auto& world) { world.sleep(8h + 1s); }, at(7, 0, 7), false},
        {"it begins in a pause", [](auto& state) { state.pause(at(23)); }, [](auto& world) { world.sleep(8h + 1s); },
         at(7, 0, 7), false},
        {"another time zone", [](auto&) {}, [](auto& world) { world.calendar.moveTo("America/New_York"); }, at(1, 0, 7),
         true},
        {"the clock is set", [](auto&) {},
         [](auto& world) {
             world.scheduler.setWallClock(at(12, 0, 5));
             world.scheduler.advance(30s);
         },
         at(20, 0, 5), true},
    };
    for (const auto& row : rows) {
        FilterWorld world(nightSchedule(), at(12));
        FilterState& state = world.start();
        row.begin(state);
        world.scheduler.advance(1s);
        EXPECT_EQ(state.nextScheduledChange.get(), (FilterState::ScheduledChange{at(20), true})) << row.what;
        int told = 0;
        const auto subscription = state.changes().onWillChange([&] { ++told; });
        row.happen(world);
        EXPECT_EQ(told, 1) << row.what;
        EXPECT_EQ(state.nextScheduledChange.get(), (FilterState::ScheduledChange{row.at, row.turnsOn})) << row.what;
        world.preferences.setScheduleEndMinutes(world.preferences.scheduleStartMinutes());
        state.refreshState();
        EXPECT_FALSE(state.nextScheduledChange.get()) << "never";
    }
}

TEST(FilterStateTest, ASavedPresetIsShownAtOnceAlsoUnderTheSameId) {
    FilterWorld world;
    FilterState& state = world.start();
    FilterPreset mine{.id = "mine", .redFactor = 0.5, .intensity = 0.7};
    state.activateSavedPreset(mine);
    world.loads();
    mine.gamma = 1.4;
    mine.intensity = 0.4;
    state.activateSavedPreset(mine);
    EXPECT_EQ(world.loads(), 1u);
    EXPECT_TRUE(world.showsFilter());
    EXPECT_EQ(world.preferences.lastPresetID(), "mine");
    EXPECT_EQ(world.preferences.lastIntensity(), 0.4);
    world.scheduler.advance(1s);
    EXPECT_EQ(world.loads(), 0u);  // nor does what it assigned load again
}

TEST(FilterStateTest, KnowsWhatIsEditedAndReverts) {
    FilterWorld world;
    FilterState& state = world.start();
    state.selectedPreset = FilterPreset::fl41();
    EXPECT_FALSE(state.isEdited());
    for (auto* adjustment : {&state.intensity, &state.dimming, &state.blackPoint, &state.contrast}) {
        const double before = *adjustment;
        *adjustment = before + 0.0009;
        EXPECT_FALSE(state.isEdited());
        *adjustment = before + 0.0011;
        EXPECT_TRUE(state.isEdited());
        state.revertToPreset();
        EXPECT_EQ(adjustment->get(), before);
    }
}

TEST(FilterStateTest, GrayscaleIsOnExactlyWhileAGrayPresetIsOnScreen) {
    FilterWorld world;
    FilterState& state = world.start();
    state.selectedPreset = FilterPreset::epaper();
    world.scheduler.advance(1s);
    EXPECT_TRUE(world.grayscale.isGray);
    state.toggle();
    EXPECT_FALSE(world.grayscale.isGray);
    state.toggle();
    EXPECT_TRUE(world.grayscale.isGray);
    state.pause(at(13));
    EXPECT_FALSE(world.grayscale.isGray);
    state.resume();
    EXPECT_TRUE(world.grayscale.isGray);
    state.selectedPreset = FilterPreset::fl41();
    world.scheduler.advance(1s);
    EXPECT_FALSE(world.grayscale.isGray);
}

TEST(FilterStateTest, AnEditOfTheSettingsFileCountsLikeThePersonsHand) {
    FilterWorld world;
    FilterState& state = world.start();
    const auto edit = [&](DefaultsValues values) {
        world.defaults.replaceFromOutside(std::move(values));
        world.scheduler.advance(1s);
    };
    edit({{"lastPresetID", std::string("sunset")}, {"lastIntensity", 0.35}});
    EXPECT_EQ(state.selectedPreset.get().id, "sunset");
    EXPECT_EQ(state.intensity.get(), 0.35);  // what is written, not the preset's own
    EXPECT_TRUE(world.showsFilter());

    edit({{"lastPresetID", std::string("sunset")}, {"lastIntensity", 0.35}, {"filterEnabled", false}});
    EXPECT_FALSE(state.isEnabled);
    edit({{"lastPresetID", std::string("sunset")}, {"lastIntensity", 0.35}, {"filterEnabled", true}});
    EXPECT_TRUE(state.isEnabled);
    edit({{"filterEnabled", true}, {"pausedUntil", at(14)}});
    EXPECT_EQ(state.pausedUntil.get(), at(14));
    edit({{"filterEnabled", true}});
    EXPECT_TRUE(state.isEnabled);
    EXPECT_FALSE(state.pausedUntil.get());
    edit({{"pausedUntil", at(15)}});  // on by default again, and paused
    EXPECT_EQ(state.pausedUntil.get(), at(15));
    edit({{"scheduleEnabled", true}});
    EXPECT_FALSE(state.isEnabled);
}

TEST(FilterStateTest, AnEditOfOneAdjustmentLeavesTheOthersAsTheyAreOnScreen) {
    FilterWorld world({{"lastIntensity", 0.5}});
    FilterState& state = world.start();
    state.selectedPreset = FilterPreset::fl41();
    state.contrast = 0.25;
    world.scheduler.advance(100ms);  // nothing of it is stored yet
    world.defaults.replaceFromOutside({{"lastIntensity", 0.5}, {"lastDimming", 0.3}});
    EXPECT_EQ(state.selectedPreset.get().id, "fl41");
    EXPECT_EQ(state.adjustments(), (Adjustments{FilterPreset::fl41().intensity, 0.3, 0, 0.25}));
    world.scheduler.advance(1s);
    EXPECT_EQ(world.preferences.lastDimming(), 0.3);
    EXPECT_EQ(world.preferences.lastContrast(), 0.25);
}

TEST(FilterStateTest, SavesWhatIsWaitingWhenAskedTo) {
    FilterWorld world;
    FilterState& state = world.start();
    state.contrast = 0.25;
    state.saveNow();
    EXPECT_EQ(world.preferences.lastContrast(), 0.25);
    const int writes = world.defaults.writes();
    world.scheduler.advance(5s);
    EXPECT_EQ(world.defaults.writes(), writes);
}

TEST(FilterStateTest, HidesNothingOfItsStoresAndTimerFromItsObservers) {
    FilterWorld world;
    FilterState& state = world.start();
    int changes = 0;
    const auto subscription = state.changes().onWillChange([&] { ++changes; });
    world.customPresets.presets = {FilterPreset::evening()};
    EXPECT_EQ(changes, 1);
    world.breakTimer.setInterval(30min);
    EXPECT_GE(changes, 2);
}

TEST(FilterStateTest, GoesQuietlyWhenItIsReleased) {
    FilterWorld world(nightSchedule(), at(19, 59));
    FilterState& state = world.start();
    state.intensity = 0.1;
    state.pause(at(20, 30));
    world.state.reset();
    world.loads();
    world.scheduler.advance(2h);
    world.sleep(24h);
    world.calendar.moveTo("Asia/Tokyo");
    world.locationService.deliver({{35.7, 139.7}});
    EXPECT_EQ(world.loads(), 0u);
    EXPECT_FALSE(world.defaults.object("lastIntensity"));
}

}  // namespace
}  // namespace dravo
