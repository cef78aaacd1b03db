#include "breaks/break_timer.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "support/memory/memory_services.h"
#include "support/memory/memory_user_defaults.h"
#include "support/memory/virtual_scheduler.h"

namespace dravo {
namespace {

using namespace std::chrono_literals;

struct World {
    explicit World(DefaultsValues stored = {}) : defaults(std::move(stored)) {}

    memory::VirtualScheduler scheduler;
    memory::MemoryUserDefaults defaults;
    PreferencesStore preferences{defaults};
    memory::MemoryNotifications desktop{scheduler};
    BreakNotifier notifier{desktop};
    BreakTimer timer{preferences, notifier, scheduler};
};

TEST(BreakTimerTest, StartsFromTheStoredSettingsAndWritesNothing) {
    const struct {
        DefaultsValues stored;
        bool enabled;
        std::chrono::minutes interval;
        std::string shown;
    } rows[] = {
        {{}, false, 20min, "0:00"},
        {{{"breakReminderEnabled", true}}, true, 20min, "20:00"},
        {{{"breakReminderEnabled", true}, {"breakIntervalMinutes", std::int64_t{60}}}, true, 60min, "60:00"},
        {{{"breakReminderEnabled", true}, {"breakIntervalMinutes", std::int64_t{-5}}}, true, 20min, "20:00"},
        {{{"breakIntervalMinutes", std::int64_t{1} << 62}}, false, 24h, "0:00"},
    };
    for (const auto& row : rows) {
        const World world(row.stored);
        EXPECT_EQ(world.timer.isEnabled(), row.enabled);
        EXPECT_EQ(world.timer.interval().get(), row.interval);
        EXPECT_EQ(world.timer.formattedRemaining(), row.shown);
        EXPECT_EQ(world.defaults.writes(), 0);
    }
}

TEST(BreakTimerTest, CountsDownAnnouncesABreakAndBeginsTheNextIntervalInTheSameSecond) {
    World world;
    world.timer.setInterval(10min);
    world.timer.setEnabled(true);
    EXPECT_EQ(world.timer.formattedRemaining(), "10:00");
    world.scheduler.advance(599s);
    EXPECT_EQ(world.timer.formattedRemaining(), "0:01");
    EXPECT_FALSE(world.timer.showingBreakAlert());

    world.scheduler.advance(1s);
    EXPECT_EQ(world.timer.formattedRemaining(), "10:00");
    EXPECT_TRUE(world.timer.showingBreakAlert());
    EXPECT_EQ(world.timer.breakLeft().get(), 20s);
    ASSERT_EQ(world.desktop.posted.size(), 1u);
    EXPECT_EQ(world.desktop.posted[0].title, "Time for a 20-second break");
    EXPECT_EQ(world.desktop.posted[0].body, "Look at something 20 feet away to relax your eyes.");

    world.scheduler.advance(19s);
    EXPECT_TRUE(world.timer.showingBreakAlert());
    EXPECT_EQ(world.timer.breakLeft().get(), 1s);
    world.scheduler.advance(1s);
    EXPECT_FALSE(world.timer.showingBreakAlert());
    EXPECT_EQ(world.timer.formattedRemaining(), "9:40") << "the interval counts on during the break";
    world.scheduler.advance(580s);
    EXPECT_EQ(world.desktop.posted.size(), 2u);
}

TEST(BreakTimerTest, EndsABreakByDoneByANewIntervalAndBySwitchingOff) {
    World world({{"breakReminderEnabled", true}, {"breakIntervalMinutes", std::int64_t{10}}});
    world.scheduler.advance(10min + 8s);
    EXPECT_EQ(world.timer.breakLeft().get(), 12s);
    world.timer.dismissBreak();
    EXPECT_FALSE(world.timer.showingBreakAlert());
    EXPECT_EQ(world.timer.breakLeft().get(), 0s);
    EXPECT_EQ(world.timer.formattedRemaining(), "9:52");

    world.scheduler.advance(10min - 8s);
    ASSERT_TRUE(world.timer.showingBreakAlert());
    world.timer.setInterval(45min);
    EXPECT_FALSE(world.timer.showingBreakAlert());
    EXPECT_EQ(world.timer.formattedRemaining(), "45:00");

    world.scheduler.advance(45min);
    ASSERT_TRUE(world.timer.showingBreakAlert());
    world.timer.setEnabled(false);
    EXPECT_FALSE(world.timer.showingBreakAlert());
    EXPECT_EQ(world.timer.remaining().get(), 0s);
    world.scheduler.advance(24h);
    EXPECT_EQ(world.desktop.posted.size(), 3u);
    EXPECT_EQ(world.defaults.object("breakReminderEnabled"), DefaultsValue(false));
    EXPECT_EQ(world.defaults.object("breakIntervalMinutes"), DefaultsValue(std::int64_t{45}));
}

TEST(BreakTimerTest, RestartsTheCountOnEveryAssignmentOfTrue) {
    World world({{"breakReminderEnabled", true}});
    world.scheduler.advance(5min);
    int announced = 0;
    const auto subscription = world.preferences.changes().onWillChange([&] { ++announced; });
    world.timer.setEnabled(true);
    EXPECT_EQ(announced, 1);
    EXPECT_EQ(world.timer.formattedRemaining(), "20:00");
}

TEST(BreakTimerTest, TakesANightOfSleepForASecond) {
    World world({{"breakReminderEnabled", true}});
    world.scheduler.stall(8h);
    world.scheduler.advance(0s);
    EXPECT_EQ(world.timer.formattedRemaining(), "19:59");
    EXPECT_TRUE(world.desktop.posted.empty());
}

TEST(BreakTimerTest, FollowsAnEditFromOutsideWithoutWritingItBack) {
    World world;
    world.defaults.replaceFromOutside({{"breakReminderEnabled", true}, {"breakIntervalMinutes", std::int64_t{15}}});
    EXPECT_EQ(world.timer.formattedRemaining(), "15:00");
    world.scheduler.advance(1min);
    DefaultsValues unrelated = world.defaults.values();
    unrelated["lastDimming"] = 0.5;
    world.defaults.replaceFromOutside(unrelated);
    EXPECT_EQ(world.timer.formattedRemaining(), "14:00");
    world.defaults.replaceFromOutside({});
    EXPECT_FALSE(world.timer.isEnabled());
    EXPECT_EQ(world.defaults.writes(), 0);
}

TEST(BreakTimerTest, WaitsForThePersonsAnswerAndCountsWhateverItIs) {
    for (const bool granted : {true, false}) {
        World world;
        world.timer.requestEnabled(true);
        world.scheduler.runPosted();
        EXPECT_FALSE(world.timer.isEnabled());
        world.desktop.answerPrompts(granted);
        world.scheduler.advance(20min);
        EXPECT_EQ(world.desktop.posted.size(), 1u) << "it is tried also where it was refused";
    }
}

TEST(BreakTimerTest, LetsTheLastIntentWinWhileThePermissionIsAwaited) {
    World world;
    world.timer.requestEnabled(true);
    world.scheduler.runPosted();
    world.timer.requestEnabled(false);
    world.desktop.answerPrompts(true);
    world.scheduler.runPosted();
    EXPECT_FALSE(world.timer.isEnabled());

    world.timer.requestEnabled(true);
    world.timer.requestEnabled(false);
    world.timer.requestEnabled(true);
    world.scheduler.runPosted();
    EXPECT_TRUE(world.timer.isEnabled());
}

TEST(BreakTimerTest, MayEndBeforeThePermissionIsAnswered) {
    World world;
    auto notifier = std::make_unique<BreakNotifier>(world.desktop);
    auto timer = std::make_unique<BreakTimer>(world.preferences, *notifier, world.scheduler);
    timer->requestEnabled(true);
    world.scheduler.runPosted();
    timer.reset();
    world.desktop.answerPrompts(true);
    notifier->refreshStatus();
    notifier.reset();
    world.scheduler.runPosted();
    EXPECT_TRUE(world.defaults.values().empty());
}

}  // namespace
}  // namespace dravo
