#pragma once

#include <functional>

#include "base/probe.h"
#include "base/subscription.h"

namespace dravo {

/// Tells that the machine woke from sleep.
///
/// Thread: main thread. A system that cannot tell never calls.
class WakeSource : public Probed {
public:
    [[nodiscard]] virtual Subscription onWake(std::function<void()> callback) = 0;
};

}  // namespace dravo
