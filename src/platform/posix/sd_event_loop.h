#pragma once

#include <memory>
#include <optional>
#include <vector>

#include "base/descriptor_watch.h"
#include "base/guest_loop.h"
#include "base/owned.h"
#include "base/scheduler.h"
#include "base/timer_queue.h"
#include "platform/systemd/systemd.h"

namespace dravo::posix {

/// The product's Scheduler and DescriptorWatch: one sd-event loop, made when `run()` or `event()` first needs it, so
/// that the first table does not wait for it.
///
/// What is posted, timed or watched before `run()` waits for it. One event source serves all timers, armed for the
/// earliest.
///
/// Thread: the thread that runs it. Lifetime: outlives its timers' and subscriptions' owners.
class SdEventLoop : public Scheduler, public DescriptorWatch, public GuestLoop, public SystemdLoop {
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

    /// Ends `run()` after the callback that is running: nothing posted or due is served any more. The first code given
    /// counts.
    void quit(int exitCode);

    [[nodiscard]] sd_event* event() override;

    // Instead of `run()`.
    [[nodiscard]] int descriptor() override;
    bool turn() override;
    /// Whether that is running: then nothing else can run it.
    [[nodiscard]] bool isTurning() const { return isTurning_; }
    [[nodiscard]] std::optional<int> exitCode() override;

private:
    using Source = Owned<sd_event_source, sd_event_source_disable_unref>;

    struct Watch;

    void attach(Watch& watch);
    static int onTimer(sd_event_source* source, std::uint64_t time, void* self);
    static int onReady(sd_event_source* source, void* self);
    void rearm();

    TimerQueue queue_;
    std::vector<std::weak_ptr<Watch>> waiting_;  ///< asked for before there is a loop
    Owned<sd_event, sd_event_unref> event_;
    Source timerSource_;
    Source readySource_;
    SteadyTime armedFor_ = SteadyTime::max();
    bool readyArmed_ = false;
    bool isTurning_ = false;
};

}  // namespace dravo::posix
