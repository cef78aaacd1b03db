#pragma once

#include <cstddef>
#include <functional>

#include "base/scheduler.h"
#include "base/subscription.h"
#include "display/displays.h"
#include "display/wake_source.h"

namespace dravo {

/// Reports what may have changed the displays' contents: a change of outputs, a wake from sleep. It knows nothing of
/// tables, and listens only between `start` and `stop`.
///
/// Each event calls `onDisplayChange` at once, inside the event. As desktops like to write after us, quick looks
/// follow, after 50, 100, 250, 500 ms and 1 s; the next event starts them afresh.
///
/// Thread: main thread. Lifetime: releasing it stops it.
class DisplayMonitor {
public:
    DisplayMonitor(Displays& displays, WakeSource& wakeSource, Scheduler& scheduler);
    DisplayMonitor(const DisplayMonitor&) = delete;
    DisplayMonitor& operator=(const DisplayMonitor&) = delete;

    /// Called for every event and quick look; may stop the monitor.
    std::function<void()> onDisplayChange;

    void start();
    void stop();
    [[nodiscard]] bool isMonitoring() const { return isMonitoring_; }

private:
    void report(bool woke);
    void awaitNextLook();

    Displays& displays_;
    WakeSource& wakeSource_;
    Scheduler& scheduler_;
    bool isMonitoring_ = false;
    bool sinceWake_ = false;
    SteadyTime eventTime_;
    std::size_t nextLook_ = 0;
    Timer look_;
    Subscription displayChanges_;
    Subscription wakes_;
};

}  // namespace dravo
