#pragma once

#include <chrono>
#include <functional>
#include <thread>

namespace dravo::testing {

/// How long a test waits for what should happen at once: long enough for a loaded machine with sanitizers.
inline constexpr std::chrono::seconds kPatience{10};

/// Asks `condition` every `step` until it holds or `patience` is over; returns whether it held.
inline bool waitUntil(const std::function<bool()>& condition, std::chrono::milliseconds patience = kPatience,
                      std::chrono::microseconds step = std::chrono::milliseconds{2}) {
    const auto deadline = std::chrono::steady_clock::now() + patience;
    while (!condition()) {
        if (std::chrono::steady_clock::now() >= deadline) return condition();
        std::this_thread::sleep_for(step);
    }
    return true;
}

}  // namespace dravo::testing
