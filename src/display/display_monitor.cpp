#include "display/display_monitor.h"

#include <array>

namespace dravo {
namespace {

using namespace std::chrono_literals;

constexpr std::array<Duration, 5> kQuickLooks{50ms, 100ms, 250ms, 500ms, 1s};

}  // namespace

DisplayMonitor::DisplayMonitor(Displays& displays, WakeSource& wakeSource, Scheduler& scheduler)
    : displays_(displays), wakeSource_(wakeSource), scheduler_(scheduler) {}

void DisplayMonitor::start() {
    if (isMonitoring_) return;
    isMonitoring_ = true;
    displayChanges_ = displays_.onLoadNeeded([this] { report(false); });
    wakes_ = wakeSource_.onWake([this] { report(true); });
}

void DisplayMonitor::stop() {
    if (!isMonitoring_) return;
    isMonitoring_ = false;
    look_.cancel();
    displayChanges_.reset();
    wakes_.reset();
}

void DisplayMonitor::report(bool woke) {
    // A display that the wake is still bringing up, and a change it causes, stay under suspicion until the last look.
    sinceWake_ = woke || (sinceWake_ && look_.isPending());
    eventTime_ = scheduler_.steadyNow();
    nextLook_ = 0;
    awaitNextLook();
    if (sinceWake_) displays_.forgetContents();
    if (onDisplayChange) onDisplayChange();
}

void DisplayMonitor::awaitNextLook() {
    if (nextLook_ == kQuickLooks.size()) return;
    const SteadyTime due = eventTime_ + kQuickLooks.at(nextLook_++);
    look_ = scheduler_.after(due - scheduler_.steadyNow(), [this] {
        awaitNextLook();
        // After a wake the server's copy proves nothing about the hardware: these looks write.
        if (sinceWake_) displays_.forgetContents();
        if (onDisplayChange) onDisplayChange();
    });
}

}  // namespace dravo
