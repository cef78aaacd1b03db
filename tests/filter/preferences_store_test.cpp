#include "filter/preferences_store.h"

#include <gtest/gtest.h>

#include "support/memory/memory_user_defaults.h"

namespace dravo {
namespace {

constexpr std::int64_t kZero = 0;

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

}  // namespace
}  // namespace dravo
