#pragma once

#include <systemd/sd-event.h>

#include <memory>

#include "base/descriptor_watch.h"
#include "base/scheduler.h"
#include "base/timer_queue.h"

namespace dravo::posix {

/// The product's Scheduler and DescriptorWatch: one sd-event loop, made when it is first needed, so that a start which
/// only loads a table pays nothing for it.
///
/// What is posted or timed before `run()` waits for it. One event source serves all timers, armed for the earliest.
///
/// Thread: the thread that runs it. Lifetime: outlives its timers' and subscriptions' owners.
class SdEventLoop : public Scheduler, public DescriptorWatch {
public:
    SdEventLoop();
    ~SdEventLoop() override;
    SdEventLoop(const SdEventLoop&) = delete;
    SdEventLoop& operator=(const SdEventLoop&) = delete;

    WallTime now() const override;
    SteadyTime steadyNow() const override;
    Timer after(Duration delay, std::function<void()> action) override;
    Timer every(Duration period, std::function<void()> action) override;
    void post(std::function<void()> action) override;
    Subscription whenReadable(int descriptor, std::function<void()> callback) override;

    /// Runs until `quit`. Returns the code given there.
    int run();

    /// Ends `run()` after the callback that is running. The first code given counts.
    void quit(int exitCode);

    /// The loop itself, for adapters that attach a bus connection and for a toolkit that drives it.
    [[nodiscard]] sd_event* event() { return event_.get(); }

private:
    struct EventDeleter {
        void operator()(sd_event* event) const { sd_event_unref(event); }
    };
    struct SourceDeleter {
        void operator()(sd_event_source* source) const { sd_event_source_disable_unref(source); }
    };
    using Source = std::unique_ptr<sd_event_source, SourceDeleter>;

    static int onTimer(sd_event_source* source, std::uint64_t time, void* self);
    static int onReady(sd_event_source* source, void* self);
    void rearm();

    TimerQueue queue_;
    std::unique_ptr<sd_event, EventDeleter> event_;
    Source timerSource_;
    Source readySource_;
    SteadyTime armedFor_ = SteadyTime::max();
    bool readyArmed_ = false;
};

}  // namespace dravo::posix
