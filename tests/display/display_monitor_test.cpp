#include "display/display_monitor.h"

#include <gtest/gtest.h>

#include <memory>
#include <vector>

#include "display/remembered_displays.h"
#include "support/memory/memory_services.h"
#include "support/memory/memory_table_device.h"
#include "support/memory/virtual_scheduler.h"
#include "support/temporary_folder.h"

namespace dravo {
namespace {

using namespace std::chrono_literals;

class DisplayMonitorTest : public ::testing::Test {
protected:
    DisplayMonitorTest() {
        displays.begin(LastingDisplays::Beginning::afresh);
        monitor->onDisplayChange = [this] { calls.push_back((scheduler.steadyNow() - start) / 1ms); };
    }
    memory::VirtualDesk desk;
    CrtcId crtc = desk.addCrtc(256);
    memory::MemoryTableDevice device{desk};
    testing::TemporaryFolder home;
    OriginalGammaStore store{{home / ".dravo", {}}};
    memory::MemoryWakeSource wakeSource;
    memory::VirtualScheduler scheduler;
    RememberedDisplays displays{device, store, scheduler};
    SteadyTime start = scheduler.steadyNow();
    std::unique_ptr<DisplayMonitor> monitor = std::make_unique<DisplayMonitor>(displays, wakeSource, scheduler);
    std::vector<long> calls;
};

TEST_F(DisplayMonitorTest, ReportsEachEventAtOnceAndLooksAgainFiveTimesAfterTheLast) {
    monitor->start();
    monitor->start();
    desk.plug("DP-1", crtc);
    EXPECT_EQ(calls, std::vector{0L});
    scheduler.advance(120ms);
    wakeSource.wake();
    EXPECT_EQ(calls, (std::vector{0L, 50L, 100L, 120L}));
    scheduler.advance(1min);
    EXPECT_EQ(calls, (std::vector{0L, 50L, 100L, 120L, 170L, 220L, 370L, 620L, 1120L}));
}

TEST_F(DisplayMonitorTest, IsSilentWhenStoppedOrGone) {
    monitor->stop();
    desk.plug("DP-1", crtc);
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
