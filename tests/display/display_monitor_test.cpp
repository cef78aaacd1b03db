#include "display/display_monitor.h"

#include <gtest/gtest.h>

#include <optional>
#include <vector>

#include "display/engine_world.h"

namespace dravo {
namespace {

using namespace std::chrono_literals;

class DisplayMonitorTest : public ::testing::Test, protected testing::EngineWorld {
protected:
    DisplayMonitorTest() {
        run->launch(std::nullopt);
        desk.unplug("DP-1");
        monitor->onDisplayChange = [this] { calls.push_back((scheduler.steadyNow() - begun) / 1ms); };
    }
    SteadyTime begun = scheduler.steadyNow();
    std::optional<DisplayMonitor> monitor{std::in_place, run->displays, wakeSource, scheduler};
    std::vector<long> calls;
};

TEST_F(DisplayMonitorTest, ReportsEachEventAtOnceAndLooksAgainFiveTimesAfterTheLast) {
    monitor->start();
    monitor->start();
    desk.plug("DP-1", crtcs[0]);
    EXPECT_EQ(calls, std::vector{0L});
    scheduler.advance(120ms);
    wakeSource.wake();
    EXPECT_EQ(calls, (std::vector{0L, 50L, 100L, 120L}));
    scheduler.advance(1min);
    EXPECT_EQ(calls, (std::vector{0L, 50L, 100L, 120L, 170L, 220L, 370L, 620L, 1120L}));
}

TEST_F(DisplayMonitorTest, IsSilentWhenStoppedOrGone) {
    monitor->stop();
    desk.plug("DP-1", crtcs[0]);
    EXPECT_TRUE(calls.empty());
    monitor->start();
    wakeSource.wake();
    monitor->stop();
    scheduler.advance(2s);
    EXPECT_EQ(calls.size(), 1U);
    monitor->start();
    wakeSource.wake();
    monitor.reset();
    wakeSource.wake();
    desk.unplug("DP-1");
    scheduler.advance(2s);
    EXPECT_EQ(calls.size(), 2U);
}

TEST_F(DisplayMonitorTest, MayBeStoppedByItsOwnCall) {
    monitor->start();
    monitor->onDisplayChange = [this] {
        calls.push_back(0);
        monitor->stop();
    };
    wakeSource.wake();
    scheduler.advance(2s);
    EXPECT_EQ(calls.size(), 1U);
}

}  // namespace
}  // namespace dravo
