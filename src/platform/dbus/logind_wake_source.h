#pragma once

#include "base/descriptor_watch.h"
#include "base/unique_fd.h"
#include "display/wake_source.h"
#include "platform/dbus/bus.h"

namespace dravo::dbus {

/// Wakes as the login manager tells them on the system bus: the end of sleep, and this session coming to the front
/// again after another one had the screen. Also a jump of the wall clock, which a machine without a login manager
/// shows when it wakes. One sleep may be told more than once.
///
/// Connects in the loop after the first subscription. Without a system bus the clock alone speaks, and nothing is said.
/// Lifetime: what it is given outlives it.
class LogindWakeSource final : public WakeSource {
public:
    LogindWakeSource(Bus& systemBus, Scheduler& scheduler, DescriptorWatch& descriptors);

    Subscription onWake(std::function<void()> callback) override;
    Subscription probe(Found found) override;

private:
    void connect();
    void watchClock();
    void armClock();
    void watchSession(const char* path);

    Bus& bus_;
    Scheduler& scheduler_;
    DescriptorWatch& descriptors_;
    SubscriberList<> wakes_;
    UniqueFd clock_;
    Timer start_;
    Subscription clockSubscription_;
    Subscription sleepSubscription_;
    Subscription sessionAnswer_;
    Subscription sessionSubscription_;
};

}  // namespace dravo::dbus
