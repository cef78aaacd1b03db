#include "base/rate_limit.h"

#include <algorithm>
#include <utility>

namespace dravo {

Throttle::Throttle(Scheduler& scheduler, Duration interval, std::function<void()> action)
    : scheduler_(scheduler), interval_(interval), action_(std::move(action)) {}

void Throttle::trigger() {
    if (pending_.isPending()) return;
    const auto now = scheduler_.steadyNow();
    const auto delay = quietUntil_ > now ? quietUntil_ - now : Duration::zero();
    pending_ = scheduler_.after(delay, [this] { deliver(); });
}

void Throttle::deliver() {
    quietUntil_ = scheduler_.steadyNow() + interval_;
    action_();
}

Debounce::Debounce(Scheduler& scheduler, Duration delay, std::function<void()> action)
    : scheduler_(scheduler), delay_(delay), action_(std::move(action)) {}

void Debounce::trigger() { pending_ = scheduler_.after(delay_, action_); }

void Debounce::flush() {
    if (!pending_.isPending()) return;
    pending_.cancel();
    action_();
}

}  // namespace dravo
