#include "filter/preferences_store.h"

#include <gtest/gtest.h>

#include "support/memory/memory_user_defaults.h"

namespace dravo {
namespace {

using namespace std::chrono_literals;

constexpr std::int64_t kZero = 0;
constexpr std::int64_t kOne = 1;

TEST(PreferencesStoreTest, TellsAStoredZeroFromAnAbsentKey) {
    memory::MemoryUserDefaults defaults({{"filterEnabled", false},
                                         {"shortcutEnabled", false},
                                         {"lastIntensity", 0.0},
                                         {"scheduleStartMinutes", kZero},
                                         {"scheduleEndMinutes", kZero},
                                         {"shortcutKeyCode", kZero},
                                         {"shortcutModifiers", kZero}});
    const PreferencesStore store(defaults);
    EXPECT_FALSE(store.filterEnabled());
    EXPECT_FALSE(store.shortcutEnabled());
    EXPECT_EQ(store.lastIntensity(), 0);
    EXPECT_EQ(store.scheduleStartMinutes(), 0);
    EXPECT_EQ(store.scheduleEndMinutes(), 0);
    EXPECT_EQ(store.shortcutKeyCode(), 0);
    EXPECT_EQ(store.shortcutModifiers(), 0);
}

TEST(PreferencesStoreTest, WritesEachSettingUnderItsOwnKeyAndNothingElse) {
    static constexpr WallTime kEnd{1234567890s};
    const struct {
        DefaultsValues stored;
        void (*write)(PreferencesStore&);
    } rows[] = {
        {{{"filterEnabled", false}}, [](auto& store) { store.setFilterEnabled(false); }},
        {{{"lastPresetID", "warm"}}, [](auto& store) { store.setLastPresetID("warm"); }},
        {{{"lastIntensity", 0.1}}, [](auto& store) { store.setLastIntensity(0.1); }},
        {{{"lastDimming", 0.2}}, [](auto& store) { store.setLastDimming(0.2); }},
        {{{"lastBlackPoint", 0.3}}, [](auto& store) { store.setLastBlackPoint(0.3); }},
        {{{"lastContrast", -0.4}}, [](auto& store) { store.setLastContrast(-0.4); }},
        {{{"pausedUntil", kEnd}}, [](auto& store) { store.setPausedUntil(kEnd); }},
        {{{"scheduleEnabled", true}}, [](auto& store) { store.setScheduleEnabled(true); }},
        {{{"scheduleMode", kOne}}, [](auto& store) { store.setScheduleMode(ScheduleMode::sunsetToSunrise); }},
        {{{"scheduleStartMinutes", kOne}}, [](auto& store) { store.setScheduleStartMinutes(1); }},
        {{{"scheduleEndMinutes", kOne}}, [](auto& store) { store.setScheduleEndMinutes(1); }},
        {{{"lastLatitude", 52.5}}, [](auto& store) { store.setLastLatitude(52.5); }},
        {{{"lastLongitude", -13.4}}, [](auto& store) { store.setLastLongitude(-13.4); }},
        {{{"locationSource", "zone"}}, [](auto& store) { store.setLocationSource(LocationSource::zone); }},
        {{{"shortcutKeyCode", kOne}, {"shortcutModifiers", kZero}}, [](auto& store) { store.setShortcut(1, 0); }},
        {{{"shortcutEnabled", false}}, [](auto& store) { store.setShortcutEnabled(false); }},
        {{{"breakReminderEnabled", true}}, [](auto& store) { store.setBreakReminderEnabled(true); }},
        {{{"breakIntervalMinutes", kOne}}, [](auto& store) { store.setBreakIntervalMinutes(1); }},
        {{{"hasSeenOnboarding", true}}, [](auto& store) { store.setHasSeenOnboarding(true); }},
        {{{"advancedExpanded", true}}, [](auto& store) { store.setAdvancedExpanded(true); }},
    };
    for (const auto& row : rows) {
        memory::MemoryUserDefaults defaults;
        PreferencesStore store(defaults);
        row.write(store);
        EXPECT_EQ(defaults.values(), row.stored);
    }
    memory::MemoryUserDefaults defaults({{"pausedUntil", kEnd}, {"scheduleMode", kOne}, {"locationSource", "zone"}});
    PreferencesStore store(defaults);
    EXPECT_EQ(store.pausedUntil(), kEnd);
    EXPECT_EQ(store.scheduleMode(), ScheduleMode::sunsetToSunrise);
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
