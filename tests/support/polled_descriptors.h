#pragma once

#include <poll.h>

#include <algorithm>
#include <functional>
#include <utility>
#include <vector>

#include "base/descriptor_watch.h"
#include "base/observable.h"

namespace dravo::testing {

/// A DescriptorWatch without a loop: `poll()` serves what has input now. The kernel queues a file system event before
/// the call that caused it returns, so nothing has to be waited for.
class PolledDescriptors : public DescriptorWatch {
public:
    Subscription whenReadable(int descriptor, std::function<void()> callback) override {
        return ready_.add([descriptor, callback = std::move(callback)] {
            pollfd question{descriptor, POLLIN, 0};
            if (::poll(&question, 1, 0) > 0) callback();
        });
    }

    void poll() const { ready_.deliver(); }

private:
    SubscriberList<> ready_;
};

}  // namespace dravo::testing
