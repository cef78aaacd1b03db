#pragma once

#include <functional>

#include "base/subscription.h"

namespace dravo {

/// Tells when a file descriptor of an adapter (a server's connection, an inotify or timer descriptor) has input.
///
/// Thread: main thread; callbacks run in the loop, level-triggered. Lifetime: the descriptor stays open, and the
/// watch alive, longer than the subscription.
class DescriptorWatch {
public:
    virtual ~DescriptorWatch() = default;
    [[nodiscard]] virtual Subscription whenReadable(int descriptor, std::function<void()> callback) = 0;
};

}  // namespace dravo
