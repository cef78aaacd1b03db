#include "platform/dbus/bus.h"

#include <sys/stat.h>

#include <array>
#include <cerrno>
#include <cstdlib>
#include <string_view>
#include <utility>

#include "base/localized.h"

namespace dravo::dbus {

namespace {

constexpr std::chrono::seconds kNameTimeout{10};
constexpr const char* kBus = "org.freedesktop.DBus";
constexpr const char* kBusPath = "/org/freedesktop/DBus";

/// A callback and the slot that leads to it; shared, because the callback may end its own subscription.
struct Handler {
    std::function<void(sd_bus_message*)> callback;
    Slot slot;
};

int onMessage(sd_bus_message* message, void* data, sd_bus_error*) {
    const auto running = static_cast<Handler*>(data)->callback;
    running(message);
    return 0;
}

// A match that the bus refuses is a signal that never comes; without a handler of ours the library would close the
// whole connection for it.
int onMatchInstalled(sd_bus_message*, void*, sd_bus_error*) { return 0; }

Subscription holding(std::shared_ptr<Handler> handler) {
    return Subscription([handler = std::move(handler)] { handler->slot.reset(); });
}

constexpr std::array<std::pair<std::string_view, ErrorCode>, 16> kErrors{{
    {"org.freedesktop.DBus.Error.ServiceUnknown", ErrorCode::NotFound},
    {"org.freedesktop.DBus.Error.NameHasNoOwner", ErrorCode::NotFound},
    {"org.freedesktop.systemd1.NoSuchUnit", ErrorCode::NotFound},
    {"org.freedesktop.systemd1.UnitMasked", ErrorCode::NotFound},
    {"org.freedesktop.DBus.Error.AccessDenied", ErrorCode::PermissionDenied},
    {"org.freedesktop.DBus.Error.AuthFailed", ErrorCode::PermissionDenied},
    {"org.freedesktop.DBus.Error.NoReply", ErrorCode::Disconnected},
    {"org.freedesktop.DBus.Error.Disconnected", ErrorCode::Disconnected},
    {"System.Error.ECONNRESET", ErrorCode::Disconnected},
    {"System.Error.ENOTCONN", ErrorCode::Disconnected},
    {"System.Error.ETIMEDOUT", ErrorCode::Busy},
    {"org.freedesktop.DBus.Error.Timeout", ErrorCode::Busy},
    {"org.freedesktop.DBus.Error.InvalidArgs", ErrorCode::InvalidInput},
    {"org.freedesktop.DBus.Error.UnknownMethod", ErrorCode::Unsupported},
    {"org.freedesktop.DBus.Error.UnknownInterface", ErrorCode::Unsupported},
    {"org.freedesktop.DBus.Error.UnknownObject", ErrorCode::Unsupported},
}};

}  // namespace

Error errorFrom(const sd_bus_error& error) {
    const std::string_view name = error.name ? error.name : "";
    auto code = ErrorCode::Internal;
    for (const auto& [known, meaning] : kErrors)
        if (name == known) code = meaning;
    // What the bus could not start is as absent as what it does not know.
    if (name.starts_with("org.freedesktop.DBus.Error.Spawn.")) code = ErrorCode::NotFound;
    return {code, error.message ? std::string(error.message) : std::string(name), -sd_bus_error_get_errno(&error)};
}

bool hasSessionBus() {
    const char* address = std::getenv("DBUS_SESSION_BUS_ADDRESS");
    if (address) return *address != '\0';
    const char* runtime = std::getenv("XDG_RUNTIME_DIR");
    struct ::stat status {};
    return runtime && *runtime == '/' && ::stat((std::string(runtime) + "/bus").c_str(), &status) == 0 &&
           S_ISSOCK(status.st_mode);
}

bool readDictionary(sd_bus_message* message,
                    const std::function<void(const char*, const char*, sd_bus_message*)>& onEntry) {
    if (sd_bus_message_enter_container(message, 'a', "{sv}") < 0) return false;
    while (sd_bus_message_enter_container(message, 'e', "sv") > 0) {
        const char* key = nullptr;
        const char* contents = nullptr;
        char type = 0;
        if (sd_bus_message_read(message, "s", &key) < 0 || sd_bus_message_peek_type(message, &type, &contents) < 0 ||
            sd_bus_message_enter_container(message, 'v', contents) < 0)
            return false;
        onEntry(key, contents, message);
        while (sd_bus_message_at_end(message, 0) == 0)
            if (sd_bus_message_skip(message, nullptr) < 0) return false;
        if (sd_bus_message_exit_container(message) < 0 || sd_bus_message_exit_container(message) < 0) return false;
    }
    return sd_bus_message_exit_container(message) >= 0;
}

std::string ruleFor(const std::string& service, const std::string& path, const std::string& interface,
                    const std::string& member) {
    return "sender='" + service + "',path='" + path + "',interface='" + interface + "',member='" + member + "'";
}

Bus::Bus(SystemdLoop& loop, Scheduler& scheduler, Kind kind) : loop_(loop), scheduler_(scheduler), kind_(kind) {}

bool Bus::open() {
    if (std::exchange(wasTried_, true)) return bus_ != nullptr;
    if (kind_ == Kind::session && !hasSessionBus()) return false;
    sd_bus* bus = nullptr;
    if ((kind_ == Kind::session ? sd_bus_open_user(&bus) : sd_bus_open_system(&bus)) < 0) return false;
    bus_.reset(bus);
    // Or the loop's end would wait for a bus that hangs. What is sent is on its way by then.
    sd_bus_set_close_on_exit(bus, 0);
    if (sd_bus_attach_event(bus, loop_.event(), SD_EVENT_PRIORITY_NORMAL) < 0) {
        bus_.reset();
        return false;
    }
    constexpr const char* kLocal = "org.freedesktop.DBus.Local";
    disconnected_ = onSignal(ruleFor(kLocal, "/org/freedesktop/DBus/Local", kLocal, "Disconnected"),
                             [this](sd_bus_message*) { lost_.deliver(); });
    return true;
}

Subscription Bus::probe(Found found) {
    if (!open()) {
        found({{}, Sentence{textKey("there is no session bus to find Dravo on")}});
        return {};
    }
    return call(newCall(kBus, kBusPath, kBus, "GetId"), kNameTimeout, [found = std::move(found)](const Answer& answer) {
        constexpr TextKey kUnreachable = textKey("the session bus cannot be reached");
        found(answer ? Finding{"dbus"} : Finding{{}, Sentence{kUnreachable}});
    });
}

Subscription Bus::call(Message message, std::chrono::milliseconds timeout,
                       const std::function<void(const Answer&)>& onAnswer) {
    auto handler = std::make_shared<Handler>();
    handler->callback = [onAnswer](sd_bus_message* reply) {
        if (const auto* error = sd_bus_message_get_error(reply))
            onAnswer(errorFrom(*error));
        else
            onAnswer(reply);
    };
    sd_bus_slot* slot = nullptr;
    const auto microseconds = static_cast<std::uint64_t>(std::chrono::microseconds(timeout).count());
    const int result = message
                           ? sd_bus_call_async(bus_.get(), &slot, message.get(), onMessage, handler.get(), microseconds)
                           : -ENOTCONN;
    handler->slot.reset(slot);
    if (result < 0) {
        auto failed = std::make_shared<Timer>(scheduler_.after({}, [onAnswer, result] {
            onAnswer(Error{ErrorCode::Disconnected, textKey("the message bus cannot be reached"), -result});
        }));
        return Subscription([failed] { failed->cancel(); });
    }
    return holding(std::move(handler));
}

void Bus::send(Message message) {
    if (!message) return;
    sd_bus_message_set_expect_reply(message.get(), 0);
    sd_bus_send(bus_.get(), message.get(), nullptr);
}

Subscription Bus::onSignal(const std::string& rule, std::function<void(sd_bus_message*)> callback) {
    auto handler = std::make_shared<Handler>();
    handler->callback = std::move(callback);
    sd_bus_slot* slot = nullptr;
    sd_bus_add_match_async(bus_.get(), &slot, ("type='signal'," + rule).c_str(), onMessage, onMatchInstalled,
                           handler.get());
    handler->slot.reset(slot);
    return holding(std::move(handler));
}

Subscription Bus::watchName(const std::string& name, const std::function<void(bool)>& callback) {
    struct Watch {
        Subscription changed;
        Subscription lost;
        Subscription asked;
    };
    auto watch = std::make_shared<Watch>();
    watch->changed = onSignal(ruleFor(kBus, kBusPath, kBus, "NameOwnerChanged") + ",arg0='" + name + "'",
                              [callback](sd_bus_message* signal) {
                                  const char* owner = nullptr;
                                  if (sd_bus_message_read(signal, "sss", nullptr, nullptr, &owner) >= 0)
                                      callback(*owner != '\0');
                              });
    watch->lost = onLost([callback] { callback(false); });
    watch->asked = call(newCall(kBus, kBusPath, kBus, "NameHasOwner", "s", name.c_str()), kNameTimeout,
                        [callback](const Answer& answer) {
                            int isOwned = 0;
                            if (answer) sd_bus_message_read(*answer, "b", &isOwned);
                            callback(isOwned != 0);
                        });
    return Subscription([watch] { *watch = {}; });
}

// Both questions are on their way at once; the answers come in their order.
Subscription Bus::findService(const std::string& name, std::chrono::milliseconds timeout,
                              const std::function<void(bool)>& callback) {
    struct Search {
        bool isOwned = false;
        Subscription owner;
        Subscription startable;
    };
    auto search = std::make_shared<Search>();
    search->owner = call(newCall(kBus, kBusPath, kBus, "NameHasOwner", "s", name.c_str()), timeout,
                         [raw = search.get()](const Answer& answer) {
                             int isOwned = 0;
                             if (answer) sd_bus_message_read(*answer, "b", &isOwned);
                             raw->isOwned = isOwned != 0;
                         });
    search->startable = call(newCall(kBus, kBusPath, kBus, "ListActivatableNames"), timeout,
                             [raw = search.get(), name, callback](const Answer& answer) {
                                 bool isThere = raw->isOwned;
                                 const char* each = nullptr;
                                 if (answer && sd_bus_message_enter_container(*answer, 'a', "s") > 0)
                                     while (sd_bus_message_read(*answer, "s", &each) > 0) isThere |= name == each;
                                 callback(isThere);
                             });
    return Subscription([search] { *search = {}; });
}

}  // namespace dravo::dbus
