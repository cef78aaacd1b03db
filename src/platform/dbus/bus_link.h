#pragma once

#include <chrono>
#include <deque>
#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "base/descriptor_watch.h"
#include "base/result.h"
#include "base/scheduler.h"
#include "base/unique_fd.h"
#include "platform/dbus/bus.h"

namespace dravo::dbus {

/// A connection to a message bus that can be waited for: before there is a loop, beside one, and in a thread without
/// any. Where nobody ever has to wait, `Bus` does.
///
/// Callbacks run in the order in which their messages came, from the loop once `listen` was called, or inside whatever
/// waits. They may ask and wait themselves, but not destroy this.
/// Thread: one thread uses it. Lifetime: watch and scheduler outlive it.
class BusLink {
public:
    using Answer = Bus::Answer;  ///< The message is the callback's for as long as it runs.

    /// Connects without waiting: whether anybody answers shows with the first question.
    /// Errors: `Disconnected` (there is no such bus).
    [[nodiscard]] static Result<std::unique_ptr<BusLink>> open(Bus::Kind kind);
    ~BusLink();
    BusLink(const BusLink&) = delete;
    BusLink& operator=(const BusLink&) = delete;

    /// As `makeCall`, on this bus.
    template <typename... Arguments>
    [[nodiscard]] Message newCall(const char* service, const char* path, const char* interface, const char* member,
                                  const char* types = "", Arguments... arguments) {
        return makeCall(bus_.get(), service, path, interface, member, types, arguments...);
    }

    /// Sends the call, which starts no service, however long its answer takes. Without a bus, and for a null call, that
    /// is `Disconnected`.
    void ask(Message call, std::function<void(const Answer&)> onAnswer);

    /// Sends the call and waits for its answer. Errors: also `Busy` (none in time).
    [[nodiscard]] Result<Message> ask(Message call, std::chrono::milliseconds patience);

    /// Calls back for signals that a match rule without its `type='signal'` names.
    void onSignal(const std::string& rule, std::function<void(sd_bus_message*)> callback);

    /// Waits until `condition` holds, for `patience` at most, or until the bus is gone. Whether it holds then.
    bool waitUntil(const std::function<bool()>& condition, std::chrono::milliseconds patience);

    /// Waits until every question has been answered, those asked meanwhile included, for `patience` at most.
    bool finish(std::chrono::milliseconds patience);

    /// From here on the loop serves it. `onLoss` runs once the bus is gone.
    void listen(DescriptorWatch& watch, Scheduler& scheduler, std::function<void()> onLoss);

    [[nodiscard]] bool isLost() const;
    /// The connection's own name on the bus; empty before the first answer.
    [[nodiscard]] std::string uniqueName() const;
    /// The socket; negative once the bus is gone.
    [[nodiscard]] int descriptor() const;

private:
    /// Whoever waits for messages, and how they reach him.
    struct Listener {
        Listener(BusLink* owner, std::function<void(sd_bus_message*)> whatToDo)
            : link(owner), callback(std::move(whatToDo)) {}
        BusLink* link;
        std::function<void(sd_bus_message*)> callback;
        Slot slot = {};
    };
    struct Delivery {
        std::function<void(sd_bus_message*)> callback;
        Message message;
    };

    explicit BusLink(sd_bus* bus) : bus_(bus) {}

    static int onReply(sd_bus_message* message, void* listener, sd_bus_error* error);
    static int onSignalCame(sd_bus_message* message, void* listener, sd_bus_error* error);
    void collect();
    void deliver();
    void turn();
    void turnAfter(Duration delay);

    BusHandle bus_;
    std::vector<std::unique_ptr<Listener>> questions_;  ///< Those that are not answered yet.
    std::vector<std::unique_ptr<Listener>> signals_;
    std::deque<Delivery> due_;
    Scheduler* scheduler_ = nullptr;
    std::function<void()> onLoss_;
    bool isLossTold_ = false;
    Timer nextTurn_;
    UniqueFd watched_;  ///< The socket once more.
    Subscription readable_;
};

}  // namespace dravo::dbus
