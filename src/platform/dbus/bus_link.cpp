#include "platform/dbus/bus_link.h"

#include <fcntl.h>
#include <poll.h>

#include <algorithm>
#include <cstdint>
#include <utility>

namespace dravo::dbus {

namespace {

using namespace std::chrono_literals;

/// When what the socket did not take is offered again.
constexpr Duration kWriteAgain = 10ms;

Error disconnected() { return {ErrorCode::Disconnected, textKey("the message bus cannot be reached")}; }

// A match that the bus refuses is a signal that never comes; without a handler of ours the library would close the
// whole connection for it.
int onMatchInstalled(sd_bus_message*, void*, sd_bus_error*) { return 0; }

}  // namespace

Result<std::unique_ptr<BusLink>> BusLink::open(Bus::Kind kind) {
    const bool isSession = kind == Bus::Kind::session;
    sd_bus* bus = nullptr;
    if (isSession && !hasSessionBus()) return disconnected();
    if (const auto loaded = loadSystemd(); !loaded) return loaded.error();
    if ((isSession ? sd_bus_open_user(&bus) : sd_bus_open_system(&bus)) < 0) return disconnected();
    return std::unique_ptr<BusLink>(new BusLink(bus));
}

BusLink::~BusLink() = default;

void BusLink::ask(Message call, std::function<void(const Answer&)> onAnswer) {
    auto listener = std::make_unique<Listener>(this, [onAnswer = std::move(onAnswer)](sd_bus_message* reply) {
        if (!reply) return onAnswer(disconnected());
        const sd_bus_error* const error = sd_bus_message_get_error(reply);
        error ? onAnswer(errorFrom(*error)) : onAnswer(reply);
    });
    sd_bus_slot* slot = nullptr;
    if (call) sd_bus_message_set_auto_start(call.get(), 0);
    const int sent =
        call ? sd_bus_call_async(bus_.get(), &slot, call.get(), onReply, listener.get(), UINT64_MAX) : -ENOTCONN;
    listener->slot.reset(slot);
    if (sent < 0) {
        due_.push_back({std::move(listener->callback), nullptr});
        turnAfter(Duration::zero());
        return;
    }
    questions_.push_back(std::move(listener));
    if ((sd_bus_get_events(bus_.get()) & POLLOUT) != 0) turnAfter(kWriteAgain);
}

Result<Message> BusLink::ask(Message call, std::chrono::milliseconds patience) {
    // Shared, as an answer may still come when nobody waits for it any more.
    const auto came =
        std::make_shared<Result<Message>>(Error{ErrorCode::Busy, textKey("the display server does not answer")});
    ask(std::move(call), [came](const Answer& answer) {
        *came = answer ? Result<Message>(Message(sd_bus_message_ref(*answer))) : Result<Message>(answer.error());
    });
    finish(patience);
    return std::move(*came);
}

void BusLink::onSignal(const std::string& rule, std::function<void(sd_bus_message*)> callback) {
    auto listener = std::make_unique<Listener>(this, std::move(callback));
    sd_bus_slot* slot = nullptr;
    sd_bus_add_match_async(bus_.get(), &slot, ("type='signal'," + rule).c_str(), onSignalCame, onMatchInstalled,
                           listener.get());
    listener->slot.reset(slot);
    signals_.push_back(std::move(listener));
}

// The library does not take part in its own callbacks: what came is delivered once it has returned, so that whoever is
// called may wait for more.
int BusLink::onReply(sd_bus_message* message, void* data, sd_bus_error*) {
    auto& listener = *static_cast<Listener*>(data);
    BusLink& link = *listener.link;
    link.due_.push_back({std::move(listener.callback), Message(sd_bus_message_ref(message))});
    std::erase_if(link.questions_, [&](const auto& question) { return question.get() == &listener; });
    return 0;
}

int BusLink::onSignalCame(sd_bus_message* message, void* data, sd_bus_error*) {
    auto& listener = *static_cast<Listener*>(data);
    listener.link->due_.push_back({listener.callback, Message(sd_bus_message_ref(message))});
    return 0;
}

void BusLink::collect() {
    while (sd_bus_process(bus_.get(), nullptr) > 0) {
    }
    if (isLost()) readable_.reset();
}

void BusLink::deliver() {
    while (!due_.empty()) {
        const Delivery next = std::move(due_.front());
        due_.pop_front();
        next.callback(next.message.get());
    }
}

bool BusLink::waitUntil(const std::function<bool()>& condition, std::chrono::milliseconds patience) {
    const auto deadline = std::chrono::steady_clock::now() + patience;
    for (;;) {
        collect();
        deliver();
        const auto left =
            std::chrono::ceil<std::chrono::microseconds>(deadline - std::chrono::steady_clock::now()).count();
        if (condition() || isLost() || left <= 0) break;
        sd_bus_wait(bus_.get(), static_cast<std::uint64_t>(left));
    }
    if (isLost()) turnAfter(Duration::zero());
    return condition();
}

bool BusLink::finish(std::chrono::milliseconds patience) {
    return waitUntil([this] { return questions_.empty(); }, patience);
}

void BusLink::listen(DescriptorWatch& watch, Scheduler& scheduler, std::function<void()> onLoss) {
    scheduler_ = &scheduler;
    onLoss_ = std::move(onLoss);
    // The library closes its descriptor when the bus goes, before anybody can end the watch on it.
    watched_ = UniqueFd(::fcntl(descriptor(), F_DUPFD_CLOEXEC, 0));
    if (watched_) readable_ = watch.whenReadable(watched_.get(), [this] { turn(); });
    // What was waited for may have brought more along, while the descriptor stays silent.
    turnAfter(Duration::zero());
}

void BusLink::turn() {
    collect();
    deliver();
    if (isLost()) {
        if (!std::exchange(isLossTold_, true)) onLoss_();
    } else if ((sd_bus_get_events(bus_.get()) & POLLOUT) != 0) {
        turnAfter(kWriteAgain);
    }
}

void BusLink::turnAfter(Duration delay) {
    if (!scheduler_ || (nextTurn_.isPending() && delay > Duration::zero())) return;
    nextTurn_ = scheduler_->after(delay, [this] { turn(); });
}

bool BusLink::isLost() const { return sd_bus_is_open(bus_.get()) <= 0; }

std::string BusLink::uniqueName() const {
    const char* name = nullptr;
    // Waits for nothing once the connection is made.
    const bool isReady = !isLost() && sd_bus_is_ready(bus_.get()) > 0;
    return isReady && sd_bus_get_unique_name(bus_.get(), &name) >= 0 ? name : "";
}

int BusLink::descriptor() const { return sd_bus_get_fd(bus_.get()); }

}  // namespace dravo::dbus
