#pragma once

#include <chrono>
#include <functional>
#include <string>
#include <vector>

#include "base/descriptor_watch.h"
#include "base/result.h"
#include "base/scheduler.h"
#include "base/subscription.h"

namespace dravo::posix {

/// Starts the program that `words` name, found by PATH, with a clean signal state, and gives what it printed once it
/// has ended. A program that fails, prints more than 4 KiB or takes longer than `patience` is killed and an error.
///
/// `onDone` comes from the loop. The subscription's end kills the program and drops the answer.
/// Errors: `NotFound` (no such program), `Busy` (too slow), `Internal` (it failed, with its exit code).
[[nodiscard]] Subscription readChildOutput(DescriptorWatch& watch, Scheduler& scheduler,
                                           const std::vector<std::string>& words, std::chrono::milliseconds patience,
                                           std::function<void(const Result<std::string>&)> onDone);

}  // namespace dravo::posix
