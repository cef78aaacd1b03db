#include "filter/model/preferences_store.h"

#include <gtest/gtest.h>

#include "platform/memory/memory_user_defaults.h"

namespace dravo {
namespace {

using namespace std::chrono_literals;

TEST(PreferencesStoreTest, GivesAFreshUserTheDefaults) {
    memory::MemoryUserDefaults defaults;
    const PreferencesStore store(defaults);
    EXPECT_TRUE(store.filterEnabled());
    EXPECT_EQ(store.lastPresetID(), std::nullopt);
    EXPECT_EQ(store.lastIntensity(), 0.8);
    EXPECT_EQ(store.lastDimming(), 0);
    EXPECT_EQ(store.lastBlackPoint(), 0);
    EXPECT_EQ(store.lastContrast(), 0);
    EXPECT_EQ(store.pausedUntil(), std::nullopt);
    EXPECT_FALSE(store.scheduleEnabled());
    EXPECT_EQ(store.scheduleMode(), ScheduleMode::customTimes);
    EXPECT_EQ(store.scheduleStartMinutes(), 1200);
    EXPECT_EQ(store.scheduleEndMinutes(), 420);
    EXPECT_EQ(store.lastLatitude(), std::nullopt);
    EXPECT_EQ(store.lastLongitude(), std::nullopt);
    EXPECT_EQ(store.locationSource(), LocationSource::service);
    EXPECT_EQ(store.shortcutKeyCode(), 14);
    EXPECT_EQ(store.shortcutModifiers(), 4608);
    EXPECT_TRUE(store.shortcutEnabled());
    EXPECT_FALSE(store.breakReminderEnabled());
    EXPECT_EQ(store.breakIntervalMinutes(), 0);
    EXPECT_FALSE(store.hasSeenOnboarding());
    EXPECT_FALSE(store.advancedExpanded());
}

TEST(PreferencesStoreTest, TellsAStoredZeroFromAnAbsentKey) {
    memory::MemoryUserDefaults defaults({{"filterEnabled", false},
                                         {"shortcutEnabled", false},
                                         {"lastIntensity", 0.0},
                                         {"scheduleStartMinutes", std::int64_t{0}},
                                         {"scheduleEndMinutes", std::int64_t{0}},
                                         {"shortcutKeyCode", std::int64_t{0}},
                                         {"shortcutModifiers", std::int64_t{0}}});
    const PreferencesStore store(defaults);
    EXPECT_FALSE(store.filterEnabled());
    EXPECT_FALSE(store.shortcutEnabled());
    EXPECT_EQ(store.lastIntensity(), 0);
    EXPECT_EQ(store.scheduleStartMinutes(), 0);
    EXPECT_EQ(store.scheduleEndMinutes(), 0);
    EXPECT_EQ(store.shortcutKeyCode(), 0);
    EXPECT_EQ(store.shortcutModifiers(), 0);
}

TEST(PreferencesStoreTest, WritesEachSettingUnderItsOwnKeyAndReadsItBack) {
    memory::MemoryUserDefaults defaults;
    PreferencesStore store(defaults);
    const WallTime end{1234567890s};
    store.setFilterEnabled(false);
    store.setLastPresetID("warm");
    store.setLastIntensity(0.1);
    store.setLastDimming(0.2);
    store.setLastBlackPoint(0.3);
    store.setLastContrast(-0.4);
    store.setPausedUntil(end);
    store.setScheduleEnabled(true);
    store.setScheduleMode(ScheduleMode::sunsetToSunrise);
    store.setScheduleStartMinutes(1);
    store.setScheduleEndMinutes(2);
    store.setLastLatitude(52.5);
    store.setLastLongitude(-13.4);
    store.setLocationSource(LocationSource::zone);
    store.setShortcut(3, 4);
    store.setShortcutEnabled(false);
    store.setBreakReminderEnabled(true);
    store.setBreakIntervalMinutes(30);
    store.setHasSeenOnboarding(true);
    store.setAdvancedExpanded(true);

    const DefaultsValues expected{{"filterEnabled", false},
                                  {"lastPresetID", "warm"},
                                  {"lastIntensity", 0.1},
                                  {"lastDimming", 0.2},
                                  {"lastBlackPoint", 0.3},
                                  {"lastContrast", -0.4},
                                  {"pausedUntil", end},
                                  {"scheduleEnabled", true},
                                  {"scheduleMode", std::int64_t{1}},
                                  {"scheduleStartMinutes", std::int64_t{1}},
                                  {"scheduleEndMinutes", std::int64_t{2}},
                                  {"lastLatitude", 52.5},
                                  {"lastLongitude", -13.4},
                                  {"locationSource", "zone"},
                                  {"shortcutKeyCode", std::int64_t{3}},
                                  {"shortcutModifiers", std::int64_t{4}},
                                  {"shortcutEnabled", false},
                                  {"breakReminderEnabled", true},
                                  {"breakIntervalMinutes", std::int64_t{30}},
                                  {"hasSeenOnboarding", true},
                                  {"advancedExpanded", true}};
    EXPECT_EQ(defaults.values(), expected);
    EXPECT_EQ(store.pausedUntil(), end);
    EXPECT_EQ(store.scheduleMode(), ScheduleMode::sunsetToSunrise);
    EXPECT_EQ(store.lastLongitude(), -13.4);
    EXPECT_EQ(store.locationSource(), LocationSource::zone);

    store.setPausedUntil(std::nullopt);
    EXPECT_FALSE(defaults.object("pausedUntil"));
}

TEST(PreferencesStoreTest, ReadsWhatCannotBeMeantAsAbsent) {
    memory::MemoryUserDefaults defaults({{"scheduleMode", std::int64_t{7}},
                                         {"pausedUntil", "tomorrow"},
                                         {"lastLatitude", "52"},
                                         {"lastLongitude", 180.5},
                                         {"locationSource", "moon"}});
    const PreferencesStore store(defaults);
    EXPECT_EQ(store.scheduleMode(), ScheduleMode::customTimes);
    EXPECT_EQ(store.pausedUntil(), std::nullopt);
    EXPECT_EQ(store.lastLatitude(), std::nullopt);
    EXPECT_EQ(store.lastLongitude(), std::nullopt);
    EXPECT_EQ(store.locationSource(), LocationSource::service);

    defaults.set("lastLatitude", std::int64_t{-90});
    EXPECT_EQ(store.lastLatitude(), -90);
}

TEST(PreferencesStoreTest, AnnouncesOnceBeforeAWriteThatThePanelShowsAndKeepsSilentForTheRest) {
    memory::MemoryUserDefaults defaults;
    PreferencesStore store(defaults);
    int announced = 0;
    bool before = false;
    const auto subscription = store.changes().onWillChange([&] {
        ++announced;
        before = !store.scheduleEnabled();
    });

    store.setScheduleEnabled(true);
    EXPECT_EQ(announced, 1);
    EXPECT_TRUE(before);
    store.setShortcut(1, 2);
    store.setBreakIntervalMinutes(10);
    store.setHasSeenOnboarding(true);
    EXPECT_EQ(announced, 5) << "the shortcut is two values";

    store.setFilterEnabled(false);
    store.setLastIntensity(0.5);
    store.setPausedUntil(std::nullopt);
    store.setLastLatitude(1);
    store.setAdvancedExpanded(true);
    EXPECT_EQ(announced, 5);
}

TEST(PreferencesStoreTest, PassesOnAnOutsideChangeWithItsKeysAfterTheWillChange) {
    memory::MemoryUserDefaults defaults({{"lastDimming", 0.5}, {"scheduleEnabled", true}});
    PreferencesStore store(defaults);
    std::string log;
    const auto will = store.changes().onWillChange([&] { log += "will "; });
    const auto outside = store.onOutsideChange([&](const DefaultsKeys& keys) {
        for (const auto& key : keys) log += key + " ";
    });
    defaults.replaceFromOutside({{"scheduleEnabled", true}, {"scheduleStartMinutes", std::int64_t{60}}});
    EXPECT_EQ(log, "will lastDimming scheduleStartMinutes ");
}

}  // namespace
}  // namespace dravo
