#include "base/rate_limit.h"

#include <gtest/gtest.h>

#include <vector>

#include "support/memory/virtual_scheduler.h"

namespace dravo {
namespace {

using namespace std::chrono_literals;

TEST(ThrottleTest, DeliversAtOnceThenOncePerIntervalAndAlwaysTheLast) {
    memory::VirtualScheduler scheduler;
    int value = 0;
    std::vector<int> delivered;
    Throttle throttle(scheduler, 50ms, [&] { delivered.push_back(value); });

    for (value = 1; value <= 120; ++value) {
        throttle.trigger();
        if (value == 1) {
            EXPECT_TRUE(delivered.empty()) << "never inside the trigger";
        }
        scheduler.advance(1ms);
    }
    scheduler.advance(1s);

    EXPECT_EQ(delivered, (std::vector<int>{1, 50, 100, 121}));
}

TEST(ThrottleTest, StartsAfreshAfterAQuietInterval) {
    memory::VirtualScheduler scheduler;
    int delivered = 0;
    Throttle throttle(scheduler, 50ms, [&] { ++delivered; });
    throttle.trigger();
    scheduler.advance(60ms);
    throttle.trigger();
    scheduler.advance(0ms);
    EXPECT_EQ(delivered, 2);
}

TEST(DebounceTest, WaitsForQuietAndFlushesWhatStillWaits) {
    memory::VirtualScheduler scheduler;
    int delivered = 0;
    Debounce debounce(scheduler, 500ms, [&] { ++delivered; });

    for (int i = 0; i < 10; ++i) {
        debounce.trigger();
        scheduler.advance(499ms);
    }
    EXPECT_EQ(delivered, 0);
    scheduler.advance(1ms);
    EXPECT_EQ(delivered, 1);

    debounce.flush();
    EXPECT_EQ(delivered, 1) << "nothing was waiting";
    debounce.trigger();
    debounce.flush();
    scheduler.advance(1s);
    EXPECT_EQ(delivered, 2);
}

}  // namespace
}  // namespace dravo
