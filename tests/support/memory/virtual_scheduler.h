#pragma once

#include <algorithm>
#include <utility>

#include "base/scheduler.h"
#include "base/timer_queue.h"

namespace dravo::memory {

/// A Scheduler whose clocks move only when told to: a year of schedule runs in milliseconds.
///
/// Thread: one thread.
class VirtualScheduler : public Scheduler {
public:
    explicit VirtualScheduler(WallTime start = WallTime{std::chrono::days{20000}}) : wall_(start) {}

    WallTime now() const override { return wall_; }
    SteadyTime steadyNow() const override { return steady_; }
    Timer after(Duration delay, std::function<void()> action) override {
        return queue_.add(steady_ + std::max(delay, Duration::zero()), std::nullopt, std::move(action));
    }
    Timer every(Duration period, std::function<void()> action) override {
        return queue_.add(steady_ + period, period, std::move(action));
    }
    void post(std::function<void()> action) override { queue_.post(std::move(action)); }

    /// Runs everything due within `duration`, at its own instant, and what it posts; ends `duration` later.
    void advance(Duration duration) {
        const SteadyTime end = steady_ + duration;
        runPosted();
        while (const auto deadline = queue_.nextDeadline()) {
            if (*deadline > end) break;
            if (*deadline > steady_) stall(*deadline - steady_);
            queue_.runDue(steady_);
            runPosted();
        }
        if (end > steady_) stall(end - steady_);
    }

    /// Runs what is posted, and what that posts, until nothing is left; no time passes.
    void runPosted() {
        while (queue_.hasPosted()) queue_.runPosted();
    }

    /// The machine sleeps: the wall clock moves on, the steady clock stands still, nothing runs.
    void sleep(Duration duration) { wall_ += duration; }

    /// Main thread stuck: both clocks move on and nothing runs until the next `advance`.
    void stall(Duration duration) {
        steady_ += duration;
        wall_ += duration;
    }

    /// Somebody sets the clock.
    void setWallClock(WallTime instant) { wall_ = instant; }

private:
    TimerQueue queue_;
    WallTime wall_;
    SteadyTime steady_{};
};

}  // namespace dravo::memory
