#include "support/memory/virtual_scheduler.h"

#include <algorithm>
#include <utility>

namespace dravo::memory {

VirtualScheduler::VirtualScheduler(WallTime start) : wall_(start) {}

Timer VirtualScheduler::after(Duration delay, std::function<void()> action) {
    return queue_.add(steady_ + std::max(delay, Duration::zero()), std::nullopt, std::move(action));
}

Timer VirtualScheduler::every(Duration period, std::function<void()> action) {
    return queue_.add(steady_ + period, period, std::move(action));
}

void VirtualScheduler::post(std::function<void()> action) { queue_.post(std::move(action)); }

void VirtualScheduler::advance(Duration duration) {
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

void VirtualScheduler::runPosted() {
    while (queue_.hasPosted()) queue_.runPosted();
}

void VirtualScheduler::stall(Duration duration) {
    steady_ += duration;
    wall_ += std::chrono::duration_cast<WallTime::duration>(duration);
}

}  // namespace dravo::memory
