#include "platform/dbus/bus_control_client.h"

#include <string_view>
#include <utility>

#include "base/localized.h"
#include "platform/dbus/control_interface.h"

namespace dravo::dbus {

namespace {

constexpr const char* kProperties = "org.freedesktop.DBus.Properties";
constexpr std::uint64_t kForever = UINT64_MAX;

Error notRunning() { return {ErrorCode::NotFound, textKey("Dravo is not running")}; }

Error noAnswer() { return {ErrorCode::Busy, kSilent}; }

Error fromReply(const sd_bus_error& error) {
    const std::string_view name = error.name ? error.name : "";
    if (const auto own = control::errorCodeNamed(name)) {
        // "Not found" is kept for the program itself.
        const auto code = *own == ErrorCode::NotFound ? ErrorCode::InvalidInput : *own;
        return {code, error.message ? error.message : "", 0};
    }
    auto general = errorFrom(error);
    switch (general.code) {
        case ErrorCode::NotFound:
        case ErrorCode::Disconnected:
            return notRunning();
        case ErrorCode::Busy:
            return noAnswer();
        default:
            return general;
    }
}

}  // namespace

Result<void> BusControlClient::connect() {
    if (bus_) return {};
    if (!hasSessionBus()) return Error{ErrorCode::NotFound, textKey("there is no session bus to find Dravo on")};
    if (auto loaded = loadSystemd(); !loaded) return loaded.error();
    sd_bus* bus = nullptr;
    if (const int result = sd_bus_open_user(&bus); result < 0)
        return Error{ErrorCode::NotFound, textKey("the session bus cannot be reached"), -result};
    bus_.reset(bus);
    const auto patience = std::chrono::duration_cast<std::chrono::microseconds>(patience_).count();
    sd_bus_set_method_call_timeout(bus, static_cast<std::uint64_t>(patience));
    return {};
}

Result<Message> BusControlClient::newCall(const char* interface, const char* member) {
    if (auto connected = connect(); !connected) return connected.error();
    sd_bus_message* call = nullptr;
    const int result =
        sd_bus_message_new_method_call(bus_.get(), &call, control::kBusName, control::kObjectPath, interface, member);
    if (result < 0) return Error{ErrorCode::NotFound, textKey("the session bus cannot be reached"), -result};
    sd_bus_message_set_auto_start(call, 0);
    return Message(call);
}

Result<Message> BusControlClient::send(const Message& call) {
    sd_bus_error error{};
    sd_bus_message* reply = nullptr;
    const int result = sd_bus_call(bus_.get(), call.get(), std::uint64_t{0}, &error, &reply);
    if (result >= 0) return Message(reply);
    auto failure = sd_bus_error_is_set(&error) ? fromReply(error) : noAnswer();
    sd_bus_error_free(&error);
    return failure;
}

Result<ControlAnswer> BusControlClient::ask(const ControlRequest& request) {
    if (const auto refused = validate(request); !refused) return refused.error();
    const auto& method = control::methods()[request.index()];
    const auto call = newCall(control::kInterface, method.name);
    if (!call) return call.error();
    if (method.append(call->get(), request) < 0)
        return Error{ErrorCode::InvalidInput, textKey("this is no text in UTF-8")};
    const auto reply = send(*call);
    if (!reply) return reply.error();
    return control::readAnswer(method, reply->get());
}

Result<ControlState> BusControlClient::state() {
    auto call = newCall(kProperties, "GetAll");
    if (!call) return call.error();
    sd_bus_message_append(call->get(), "s", control::kInterface);
    const auto reply = send(*call);
    if (!reply) return reply.error();
    ControlState state;
    const bool isReadable =
        readDictionary(reply->get(), [&](const char* key, const char* signature, sd_bus_message* value) {
            const auto* property = control::propertyNamed(key);
            if (property && std::string_view(property->signature) == signature) property->read(value, state);
        });
    if (!isReadable)
        return Error{ErrorCode::Internal, textKey("the running Dravo answers in a way this one does not know")};
    return state;
}

Result<void> BusControlClient::follow(const std::function<bool(const ControlState&)>& onState) {
    if (auto connected = connect(); !connected) return connected;
    bool hasChanged = true;
    bool hasEnded = false;
    const auto setFlag = [](sd_bus_message*, void* isSet, sd_bus_error*) {
        *static_cast<bool*>(isSet) = true;
        return 0;
    };
    sd_bus_slot* changes = nullptr;
    sd_bus_slot* owners = nullptr;
    sd_bus_match_signal(bus_.get(), &changes, control::kBusName, control::kObjectPath, kProperties, "PropertiesChanged",
                        setFlag, &hasChanged);
    sd_bus_add_match(bus_.get(), &owners,
                     "type='signal',sender='org.freedesktop.DBus',member='NameOwnerChanged',arg0='org.dravo.Dravo'",
                     setFlag, &hasEnded);
    Result<void> outcome;
    while (outcome && !hasEnded) {
        if (std::exchange(hasChanged, false)) {
            const auto now = state();
            if (!now)
                outcome = now.error();
            else if (!onState(*now))
                break;
        }
        int result = 0;
        while ((result = sd_bus_process(bus_.get(), nullptr)) > 0) continue;
        if (result < 0) break;  // the bus is gone, and the program with it
        if (!hasChanged && !hasEnded && outcome) sd_bus_wait(bus_.get(), kForever);
    }
    sd_bus_slot_unref(changes);
    sd_bus_slot_unref(owners);
    return outcome;
}

}  // namespace dravo::dbus
