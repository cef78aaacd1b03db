#pragma once

#include <chrono>
#include <functional>
#include <string>

#include "base/observable.h"
#include "base/owned.h"
#include "base/probe.h"
#include "base/result.h"
#include "base/scheduler.h"
#include "base/subscription.h"
#include "platform/systemd/systemd.h"

namespace dravo::dbus {

using BusHandle = Owned<sd_bus, sd_bus_close_unref>;
using Message = Owned<sd_bus_message, sd_bus_message_unref>;
using Slot = Owned<sd_bus_slot, sd_bus_slot_unref>;

/// The error that an answer carries, by what the caller does about it: `NotFound` (nobody offers it, and nothing can
/// be started that does), `PermissionDenied`, `Busy` (no answer in time), `Disconnected` (it went away meanwhile),
/// `InvalidInput`, `Unsupported` (it knows no such thing), `Internal`.
[[nodiscard]] Error errorFrom(const sd_bus_error& error);

/// False when the environment names no session bus: then there is none, and none is ever started.
[[nodiscard]] bool hasSessionBus();

/// Reads an `a{sv}` at the message's position: `onEntry` gets each key with the message inside its variant, of this
/// contents' signature, and may leave it unread. False when the message holds something else.
bool readDictionary(sd_bus_message* message,
                    const std::function<void(const char* key, const char* signature, sd_bus_message*)>& onEntry);

/// The match rule for a signal of one object of a service.
[[nodiscard]] std::string ruleFor(const std::string& service, const std::string& path, const std::string& interface,
                                  const std::string& member);

/// A method call, with arguments as the bus library takes them. Null without a bus, and for a text that is not UTF-8.
template <typename... Arguments>
[[nodiscard]] Message makeCall(sd_bus* bus, const char* service, const char* path, const char* interface,
                               const char* member, const char* types = "", Arguments... arguments) {
    sd_bus_message* message = nullptr;
    if (bus) sd_bus_message_new_method_call(bus, &message, service, path, interface, member);
    Message call(message);
    if (call && *types && sd_bus_message_append(message, types, arguments...) < 0) call.reset();
    return call;
}

/// A connection to a message bus, driven by the loop: nothing waits, and every callback comes from the loop.
///
/// A bus that goes away does no harm: calls under way end in an error, watched names vanish, and nothing more comes.
/// Thread: main thread. Lifetime: outlives its subscriptions; loop and scheduler outlive it.
class Bus : public Probed {
public:
    enum class Kind { session, system };
    using Answer = Result<sd_bus_message*>;  ///< The message is the callback's for as long as it runs.

    Bus(SystemdLoop& loop, Scheduler& scheduler, Kind kind);
    Bus(const Bus&) = delete;
    Bus& operator=(const Bus&) = delete;

    /// Connects, unless that was done or tried before. False when there is no such bus; the caller goes on without.
    bool open();

    /// Whether it answers.
    Subscription probe(Found found) override;

    /// For what has no function here. Null before `open` and without a bus.
    [[nodiscard]] sd_bus* handle() const { return bus_.get(); }

    /// As `makeCall`, on this bus.
    template <typename... Arguments>
    [[nodiscard]] Message newCall(const char* service, const char* path, const char* interface, const char* member,
                                  const char* types = "", Arguments... arguments) {
        return makeCall(bus_.get(), service, path, interface, member, types, arguments...);
    }

    /// Sends the call; the subscription drops its answer. Without a bus that is `Disconnected`, from the loop as any.
    [[nodiscard]] Subscription call(Message message, std::chrono::milliseconds timeout,
                                    const std::function<void(const Answer&)>& onAnswer);

    /// Sends the call and wants no answer.
    void send(Message message);

    /// Signals that a match rule without its `type='signal'` names. REQUIRES: `open` was true.
    [[nodiscard]] Subscription onSignal(const std::string& rule, std::function<void(sd_bus_message*)> callback);

    /// `callback` hears whether somebody owns the name: once soon, then at each change. REQUIRES: `open` was true.
    [[nodiscard]] Subscription watchName(const std::string& name, const std::function<void(bool isOwned)>& callback);

    /// `callback` hears, once, whether the name is owned or something can be started for it; starts nothing.
    [[nodiscard]] Subscription findService(const std::string& name, std::chrono::milliseconds timeout,
                                           const std::function<void(bool isThere)>& callback);

    [[nodiscard]] Subscription onLost(std::function<void()> callback) { return lost_.add(std::move(callback)); }

private:
    SystemdLoop& loop_;
    Scheduler& scheduler_;
    Kind kind_;
    bool wasTried_ = false;
    SubscriberList<> lost_;
    BusHandle bus_;
    Subscription disconnected_;
};

}  // namespace dravo::dbus
