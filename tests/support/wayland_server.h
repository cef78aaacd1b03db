#pragma once

#include <sys/eventfd.h>
#include <wayland-server-core.h>

#include <atomic>
#include <chrono>
#include <functional>
#include <future>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "support/temporary_folder.h"

namespace dravo::testing {

/// A Wayland server in a thread of its own, with the globals of whoever derives from it.
///
/// Faults of starting it throw std::runtime_error, which fails the test.
class WaylandServer {
public:
    virtual ~WaylandServer();
    WaylandServer(const WaylandServer&) = delete;
    WaylandServer& operator=(const WaylandServer&) = delete;

    /// For WAYLAND_DISPLAY.
    [[nodiscard]] std::string address() const { return folder_ / "wayland"; }

    /// Lets everything wait for so long before it is answered.
    void slowDown(std::chrono::milliseconds delay) { delay_ = delay; }
    void freeze();
    void thaw() { isFrozen_ = false; }

    /// Ends as a crash does; `start` begins anew at the same address.
    void die();
    void start();

protected:
    WaylandServer() = default;

    /// Makes the globals, in the server's thread. The display is a new one.
    virtual void open(wl_display* display) = 0;
    /// The display's clients are gone, and it is going.
    virtual void closed() {}

    /// The last step of a derived class's destructor.
    void end();

    /// Has `action` done between two turns of the thread's loop, and waits for what it returns.
    template <typename Action>
    auto run(Action action) {
        std::packaged_task<decltype(action())()> task(std::move(action));
        auto result = task.get_future();
        {
            const std::lock_guard lock(mutex_);
            tasks_.push_back([&task] { task(); });
        }
        ::eventfd_write(wakeUp_, 1);
        return result.get();
    }

private:
    void listen();
    void close();
    void loop();

    TemporaryFolder folder_;
    const int wakeUp_ = ::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
    wl_display* display_ = nullptr;
    wl_event_source* asking_ = nullptr;
    bool isEnding_ = false;
    std::atomic<bool> isFrozen_ = false;
    std::atomic<std::chrono::milliseconds> delay_{std::chrono::milliseconds{0}};
    std::mutex mutex_;
    std::vector<std::function<void()>> tasks_;
    std::thread thread_;
};

}  // namespace dravo::testing
