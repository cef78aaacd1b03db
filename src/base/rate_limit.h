#pragma once

#include <functional>

#include "base/scheduler.h"

namespace dravo {

/// Delivers at most one call per interval, and always a call after the last trigger. The first trigger after a quiet
/// interval is delivered in the loop's next turn, never inside `trigger()`.
///
/// Carries no value: the handler reads the present ones, which are the latest.
/// Thread: main thread. Lifetime: destroying it drops what is pending.
class Throttle {
public:
    Throttle(Scheduler& scheduler, Duration interval, std::function<void()> action);
    void trigger();

private:
    void deliver();

    Scheduler& scheduler_;
    Duration interval_;
    std::function<void()> action_;
    SteadyTime quietUntil_ = SteadyTime::min();
    Timer pending_;
};

/// Delivers one call once nothing has been triggered for the whole delay; every trigger restarts the wait.
class Debounce {
public:
    Debounce(Scheduler& scheduler, Duration delay, std::function<void()> action);
    void trigger();

    /// Delivers now what is still waiting, if anything is.
    void flush();

private:
    Scheduler& scheduler_;
    Duration delay_;
    std::function<void()> action_;
    Timer pending_;
};

}  // namespace dravo
