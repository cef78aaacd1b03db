#include "base/scheduler.h"

#include <gtest/gtest.h>

#include <string>

#include "support/memory/virtual_scheduler.h"

namespace dravo {
namespace {

using namespace std::chrono_literals;

TEST(SchedulerTest, RunsTimersByDeadlineThenByCreationAndPostsInOrder) {
    memory::VirtualScheduler scheduler;
    std::string log;
    const auto late = scheduler.after(20ms, [&] { log += "c"; });
    const auto first = scheduler.after(10ms, [&] {
        log += "a";
        scheduler.post([&] { log += "1"; });
    });
    const auto second = scheduler.after(10ms, [&] { log += "b"; });
    scheduler.post([&] { log += "0"; });
    scheduler.advance(30ms);
    EXPECT_EQ(log, "0ab1c");
}

TEST(SchedulerTest, CancelsATimerWhoseTimeHasCome) {
    memory::VirtualScheduler scheduler;
    int fired = 0;
    Timer victim;
    const auto killer = scheduler.after(10ms, [&] { victim.cancel(); });
    victim = scheduler.after(10ms, [&] { ++fired; });
    scheduler.advance(20ms);
    EXPECT_EQ(fired, 0);
}

TEST(SchedulerTest, LetsACallbackReplaceItsOwnTimer) {
    memory::VirtualScheduler scheduler;
    int fired = 0;
    Timer timer;
    timer = scheduler.after(10ms, [&] {
        ++fired;
        timer = scheduler.after(10ms, [&] { ++fired; });
    });
    scheduler.advance(15ms);
    EXPECT_TRUE(timer.isPending());
    scheduler.advance(15ms);
    EXPECT_EQ(fired, 2);
    EXPECT_FALSE(timer.isPending());
}

}  // namespace
}  // namespace dravo
