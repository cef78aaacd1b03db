#include "platform/dbus/bus_control_client.h"

#include <string_view>
#include <utility>

#include "base/localized.h"
#include "platform/dbus/control_interface.h"

namespace dravo::dbus {

namespace {

constexpr const char* kProperties = "org.freedesktop.DBus.Properties";
constexpr std::uint64_t kForever = UINT64_MAX;

Error notRunning() { return {ErrorCode::NotFound, localized("Dravo is not running")}; }

Error noAnswer() { return {ErrorCode::Busy, localized("Dravo is running and does not answer")}; }

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

template <typename Value>
void appendChange(sd_bus_message* call, const char* key, const char* type, const std::optional<Value>& value) {
    if (value) sd_bus_message_append(call, "{sv}", key, type, *value);
}

// Booleans travel as whole numbers.
std::optional<int> flag(const std::optional<bool>& value) { return value ? std::optional<int>(*value) : std::nullopt; }

}  // namespace

Result<void> BusControlClient::connect() {
    if (bus_) return {};
    if (!hasSessionBus()) return Error{ErrorCode::NotFound, localized("there is no session bus to find Dravo on")};
    if (auto loaded = loadSystemd(); !loaded) return loaded.error();
    sd_bus* bus = nullptr;
    if (const int result = sd_bus_open_user(&bus); result < 0)
        return Error{ErrorCode::NotFound, localized("the session bus cannot be reached"), -result};
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
    if (result < 0) return Error{ErrorCode::NotFound, localized("the session bus cannot be reached"), -result};
    sd_bus_message_set_auto_start(call, 0);
    return Message(call);
}

Result<Message> BusControlClient::send(const Message& call) {
    sd_bus_error error = SD_BUS_ERROR_NULL;
    sd_bus_message* reply = nullptr;
    const int result = sd_bus_call(bus_.get(), call.get(), std::uint64_t{0}, &error, &reply);
    if (result >= 0) return Message(reply);
    auto failure = sd_bus_error_is_set(&error) ? fromReply(error) : noAnswer();
    sd_bus_error_free(&error);
    return failure;
}

Result<void> BusControlClient::order(const char* member) { return order(member, ""); }

template <typename... Arguments>
Result<void> BusControlClient::order(const char* member, const char* signature, Arguments... arguments) {
    auto call = newCall(control::kInterface, member);
    if (!call) return call.error();
    if (*signature != '\0') sd_bus_message_append(call->get(), signature, arguments...);
    const auto reply = send(*call);
    return reply ? Result<void>() : reply.error();
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
        return Error{ErrorCode::Internal, localized("the running Dravo answers in a way this one does not know")};
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

Result<void> BusControlClient::pause(const PauseLength& length) {
    if (const auto* span = std::get_if<std::chrono::seconds>(&length)) {
        if (auto refused = validate(length); !refused) return refused;
        return order("PauseFor", "u", static_cast<std::uint32_t>(span->count()));
    }
    if (const auto* until = std::get_if<WallTime>(&length)) {
        const auto microseconds = std::chrono::floor<std::chrono::microseconds>(until->time_since_epoch()).count();
        return order("PauseUntil", "x", static_cast<std::int64_t>(microseconds));
    }
    return order("PauseUntilMorning");
}

Result<void> BusControlClient::selectPreset(const std::string& id) { return order("SelectPreset", "s", id.c_str()); }

Result<void> BusControlClient::setAdjustments(const AdjustmentChange& change) {
    auto call = newCall(control::kInterface, "SetAdjustments");
    if (!call) return call.error();
    auto* message = call->get();
    sd_bus_message_open_container(message, 'a', "{sv}");
    appendChange(message, "intensity", "d", change.intensity);
    appendChange(message, "dimming", "d", change.dimming);
    appendChange(message, "blackPoint", "d", change.blackPoint);
    appendChange(message, "contrast", "d", change.contrast);
    sd_bus_message_close_container(message);
    const auto reply = send(*call);
    return reply ? Result<void>() : reply.error();
}

Result<void> BusControlClient::setSchedule(const ScheduleChange& change) {
    auto call = newCall(control::kInterface, "SetSchedule");
    if (!call) return call.error();
    auto* message = call->get();
    sd_bus_message_open_container(message, 'a', "{sv}");
    appendChange(message, "enabled", "b", flag(change.enabled));
    if (change.mode) sd_bus_message_append(message, "{sv}", "mode", "s", nameOf(*change.mode).data());
    appendChange(message, "startMinutes", "i", change.startMinutes);
    appendChange(message, "endMinutes", "i", change.endMinutes);
    sd_bus_message_close_container(message);
    const auto reply = send(*call);
    return reply ? Result<void>() : reply.error();
}

Result<void> BusControlClient::setLocation(const LocationChange& change) {
    if (auto refused = validate(change); !refused) return refused;
    const auto position = change.position.value_or(Position{});
    return order("SetLocation", "sdd", nameOf(change.source).data(), position.latitude, position.longitude);
}

Result<void> BusControlClient::setBreaks(const BreaksChange& change) {
    auto call = newCall(control::kInterface, "SetBreaks");
    if (!call) return call.error();
    auto* message = call->get();
    sd_bus_message_open_container(message, 'a', "{sv}");
    appendChange(message, "enabled", "b", flag(change.enabled));
    appendChange(message, "intervalMinutes", "i", change.intervalMinutes);
    sd_bus_message_close_container(message);
    const auto reply = send(*call);
    return reply ? Result<void>() : reply.error();
}

Result<std::vector<std::string>> BusControlClient::importPresets(const std::string& text) {
    auto call = newCall(control::kInterface, "ImportPresets");
    if (!call) return call.error();
    if (sd_bus_message_append(call->get(), "s", text.c_str()) < 0)
        return Error{ErrorCode::InvalidInput, "this is no text"};
    const auto reply = send(*call);
    if (!reply) return reply.error();
    std::vector<std::string> ids;
    sd_bus_message_enter_container(reply->get(), 'a', "s");
    for (const char* id = nullptr; sd_bus_message_read(reply->get(), "s", &id) > 0;) ids.emplace_back(id);
    return ids;
}

Result<std::string> BusControlClient::exportPresets(const std::vector<std::string>& ids) {
    auto call = newCall(control::kInterface, "ExportPresets");
    if (!call) return call.error();
    sd_bus_message_open_container(call->get(), 'a', "s");
    for (const auto& id : ids) sd_bus_message_append(call->get(), "s", id.c_str());
    sd_bus_message_close_container(call->get());
    const auto reply = send(*call);
    if (!reply) return reply.error();
    const char* text = "";
    sd_bus_message_read(reply->get(), "s", &text);
    return std::string(text);
}

}  // namespace dravo::dbus
