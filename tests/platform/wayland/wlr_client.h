#pragma once

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <stdexcept>
#include <string>

#include "base/sentence.h"
#include "platform/posix/sd_event_loop.h"
#include "platform/wayland/gamma_compositor.h"
#include "support/environment_variable.h"
#include "support/small_compositor.h"
#include "support/wait_until.h"

namespace dravo::testing {

/// A client of a compositor, with a loop of its own that a test turns.
class WlrClient {
public:
    explicit WlrClient(const SmallCompositor& compositor) : WlrClient(compositor.address()) {}
    explicit WlrClient(const std::string& address) {
        address_.set(address);
        socket_.set(nullptr);
        auto found = wayland::GammaCompositor::create();
        if (!found) throw std::runtime_error(inEnglish(found.error().message));
        displays_ = (*found)->takeDisplays(loop_);
    }

    wayland::CompositorDisplays& operator*() { return *displays_; }
    wayland::CompositorDisplays* operator->() { return displays_.get(); }
    Scheduler& scheduler() { return loop_; }
    void listen() { displays_->listen(loop_); }

    /// Turns the loop until `condition` holds or a test's patience is over; returns what holds then.
    bool eventually(const std::function<bool()>& condition, std::chrono::milliseconds patience = kPatience) {
        return waitUntil(
            [&] {
                while (loop_.turn()) {
                }
                return condition();
            },
            patience);
    }
    void runFor(std::chrono::milliseconds time) {
        eventually([] { return false; }, time);
    }

    /// The display's row in the list.
    DisplayDescription row(const std::string& name) {
        const auto list = displays_->list();
        if (list)
            for (const auto& display : *list)
                if (display.name == name) return display;
        return {};
    }
    bool isReady(const std::string& name) {
        const auto display = row(name);
        return display.name == name && display.problem.empty();
    }

private:
    EnvironmentVariable address_{"WAYLAND_DISPLAY"};  // For a reconnection, too.
    EnvironmentVariable socket_{"WAYLAND_SOCKET"};
    posix::SdEventLoop loop_;
    std::unique_ptr<wayland::CompositorDisplays> displays_;
};

inline GammaTable tinted(float blue = 0.25F) {
    GammaTable table = GammaTable::identity();
    for (float& level : table.green) level *= 0.5F;
    for (float& level : table.blue) level *= blue;
    return table;
}

}  // namespace dravo::testing
