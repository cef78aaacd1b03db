#pragma once

#include "platform/posix/sd_event_loop.h"
#include "support/wait_until.h"

namespace dravo::testing {

/// Runs the loop, event by event, until `condition` holds or patience is over; returns whether it held.
inline bool runUntil(posix::SdEventLoop& loop, const std::function<bool()>& condition,
                     std::chrono::milliseconds patience = kPatience) {
    const auto deadline = std::chrono::steady_clock::now() + patience;
    while (!condition() && std::chrono::steady_clock::now() < deadline) sd_event_run(loop.event(), 2'000);
    return condition();
}

}  // namespace dravo::testing
