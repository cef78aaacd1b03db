#pragma once

#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <optional>

#include "base/scheduler.h"

namespace dravo {

/// The bookkeeping that every Scheduler shares: timers by deadline and posted calls, with no clock of its own.
///
/// Not a loop: its owner asks for `nextDeadline()`, waits, and calls `runDue` and `runPosted`.
/// Thread: one thread. Lifetime: timers may outlive the queue; they then do nothing.
class TimerQueue {
public:
    TimerQueue();
    ~TimerQueue();
    TimerQueue(const TimerQueue&) = delete;
    TimerQueue& operator=(const TimerQueue&) = delete;

    [[nodiscard]] Timer add(SteadyTime deadline, std::optional<Duration> period, std::function<void()> action);
    void post(std::function<void()> action);

    /// When the earliest timer is due; none without timers.
    [[nodiscard]] std::optional<SteadyTime> nextDeadline() const;
    [[nodiscard]] bool hasPosted() const;

    /// Runs the timers due at `now`, earliest first. A timer added meanwhile waits for the next call, and a repeating
    /// timer runs once however many periods have passed; its next deadline keeps the rhythm of the first.
    void runDue(SteadyTime now);

    /// Runs what was posted before this call, in order.
    void runPosted();

    /// From now on nothing more is run, whatever is due, posted or added.
    void close();

    /// Called after any change that may have moved `nextDeadline()` or `hasPosted()`.
    void setOnChange(std::function<void()> onChange);

private:
    struct Entry;
    class Handle;
    struct State;
    std::shared_ptr<State> state_;
};

}  // namespace dravo
