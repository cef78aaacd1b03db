#pragma once

#include <chrono>
#include <cstddef>
#include <functional>
#include <string>
#include <vector>

#include "base/descriptor_watch.h"
#include "base/result.h"
#include "base/scheduler.h"
#include "base/subscription.h"

namespace dravo::posix {

/// What a child may take before it is killed: time, and bytes of output.
struct ChildLimits {
    std::chrono::milliseconds time;
    std::size_t output = 4096;
};

/// Starts the program that `words` name, found by PATH, with a clean signal state, and gives what it printed on
/// standard output once it has ended with code 0.
///
/// `onDone` comes from the loop. The subscription's end kills the program and drops the answer.
/// Errors: `NotFound` (no such program), `Busy` (killed for its time) and `InvalidInput` (for its output), `Internal`
/// (it failed: its exit code, -1 for an end by a signal, and as message what it printed).
[[nodiscard]] Subscription readChildOutput(DescriptorWatch& watch, Scheduler& scheduler,
                                           const std::vector<std::string>& words, ChildLimits limits,
                                           std::function<void(const Result<std::string>&)> onDone);

}  // namespace dravo::posix
