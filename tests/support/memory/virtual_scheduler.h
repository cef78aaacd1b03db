#pragma once

#include "base/scheduler.h"
#include "base/timer_queue.h"

namespace dravo::memory {

/// A Scheduler whose clocks move only when told to: a year of schedule runs in milliseconds.
///
/// Thread: one thread.
class VirtualScheduler : public Scheduler {
public:
    explicit VirtualScheduler(WallTime start = WallTime{std::chrono::days{20000}});

    WallTime now() const override { return wall_; }
    SteadyTime steadyNow() const override { return steady_; }
    Timer after(Duration delay, std::function<void()> action) override;
    Timer every(Duration period, std::function<void()> action) override;
    void post(std::function<void()> action) override;

    /// Runs everything due within `duration`, at its own instant, and what it posts; ends `duration` later.
    void advance(Duration duration);

    /// Runs what is posted, and what that posts, until nothing is left; no time passes.
    void runPosted();

    /// The machine sleeps: the wall clock moves on, the steady clock stands still, nothing runs.
    void sleep(Duration duration) { wall_ += std::chrono::duration_cast<WallTime::duration>(duration); }

    /// Main thread stuck: both clocks move on and nothing runs until the next `advance`.
    void stall(Duration duration);

    /// Somebody sets the clock.
    void setWallClock(WallTime instant) { wall_ = instant; }

private:
    TimerQueue queue_;
    WallTime wall_;
    SteadyTime steady_{};
};

}  // namespace dravo::memory
