#pragma once

#include <chrono>
#include <functional>
#include <thread>

namespace dravo::testing {

/// How long a test waits for what should happen at once: long enough for a loaded machine with sanitizers.
inline constexpr std::chrono::seconds kPatience{10};

/// How long it waits for a process to be gone. Where every core is busy, the kernel takes up to a minute and more to
/// let go of a file watch, and until then even a killed process is there.
inline constexpr std::chrono::seconds kPatienceForAnEnd{150};

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
