#pragma once

#include <chrono>
#include <functional>
#include <memory>

namespace dravo {

using WallTime = std::chrono::system_clock::time_point;
using SteadyTime = std::chrono::steady_clock::time_point;
using Duration = std::chrono::steady_clock::duration;

/// A pending call. Destroying or resetting the handle cancels it, also when its time has come and its call is only
/// waiting for its turn. A callback may destroy its own timer.
class [[nodiscard]] Timer {
public:
    class Pending {
    public:
        virtual ~Pending() = default;
        [[nodiscard]] virtual bool isPending() const = 0;
    };

    Timer() = default;
    explicit Timer(std::unique_ptr<Pending> pending) : pending_(std::move(pending)) {}

    void cancel() { pending_.reset(); }
    /// True until a one-shot timer has fired or the timer is cancelled.
    [[nodiscard]] bool isPending() const { return pending_ && pending_->isPending(); }

private:
    std::unique_ptr<Pending> pending_;
};

/// Time and the main thread's queue: the only way to read a clock, wait or run something later.
///
/// What is posted or timed before the loop runs is kept and runs once it does. Callbacks run on the main thread, one
/// at a time, never inside the call that asked for them. What must end at a wall-clock time compares `now()`; a timer
/// only wakes the question, because the steady clock stands still in sleep.
///
/// Thread: main thread only. Lifetime: outlives its timers.
class Scheduler {
public:
    virtual ~Scheduler() = default;

    /// The wall clock; may jump.
    [[nodiscard]] virtual WallTime now() const = 0;
    /// A clock that never jumps and stands still in sleep.
    [[nodiscard]] virtual SteadyTime steadyNow() const = 0;

    /// Calls `action` once, `delay` from now (at the next turn if it is not positive).
    [[nodiscard]] virtual Timer after(Duration delay, std::function<void()> action) = 0;

    /// Calls `action` every `period`, first one period from now. Ticks that were missed are made up by one.
    /// REQUIRES: period > 0.
    [[nodiscard]] virtual Timer every(Duration period, std::function<void()> action) = 0;

    /// Calls `action` in the loop's next turn, in the order of posting.
    virtual void post(std::function<void()> action) = 0;
};

}  // namespace dravo
