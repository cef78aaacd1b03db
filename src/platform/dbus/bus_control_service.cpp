#include "platform/dbus/bus_control_service.h"

#include <array>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "base/localized.h"
#include "base/report.h"
#include "platform/dbus/control_interface.h"

namespace dravo::dbus {

namespace {

using namespace std::chrono_literals;

constexpr auto kAnnouncementInterval = 50ms;
constexpr std::uint32_t kInQueueForName = 2;

Error badArguments() { return {ErrorCode::InvalidInput, "the call's arguments cannot be read"}; }

Error unknownKey(std::string_view key) {
    return {ErrorCode::InvalidInput, "there is no \"" + std::string(key) + "\" of this type to set"};
}

/// Reads an `a{sv}`; `onEntry` says whether it knows the key with this type.
Result<void> readChanges(sd_bus_message* call,
                         const std::function<bool(std::string_view key, char type, sd_bus_message* value)>& onEntry) {
    std::string unknown;
    const bool isReadable = readDictionary(call, [&](const char* key, const char* signature, sd_bus_message* value) {
        const char type = signature[0] != '\0' && signature[1] == '\0' ? signature[0] : '\0';
        if (!onEntry(key, type, value)) unknown = key;
    });
    if (!isReadable) return badArguments();
    if (!unknown.empty()) return unknownKey(unknown);
    return {};
}

bool readFlag(char type, sd_bus_message* value, std::optional<bool>& flag) {
    int number = 0;
    if (type != 'b' || sd_bus_message_read(value, "b", &number) < 0) return false;
    flag = number != 0;
    return true;
}

bool readNumber(char type, sd_bus_message* value, std::optional<std::int32_t>& number) {
    std::int32_t read = 0;
    if (type != 'i' || sd_bus_message_read(value, "i", &read) < 0) return false;
    number = read;
    return true;
}

template <typename Change>
Result<void> carryOutIfValid(ControlTarget& target, Result<void> (ControlTarget::*operation)(const Change&),
                             const Change& change) {
    if (auto refused = validate(change); !refused) return refused;
    return (target.*operation)(change);
}

template <Result<void> (ControlTarget::*operation)()>
Result<void> plain(ControlTarget& target, sd_bus_message*, sd_bus_message*) {
    return (target.*operation)();
}

Result<void> pauseFor(ControlTarget& target, sd_bus_message* call, sd_bus_message*) {
    std::uint32_t seconds = 0;
    if (sd_bus_message_read(call, "u", &seconds) < 0) return badArguments();
    return carryOutIfValid(target, &ControlTarget::pause, PauseLength{std::chrono::seconds{seconds}});
}

Result<void> pauseUntil(ControlTarget& target, sd_bus_message* call, sd_bus_message*) {
    std::int64_t microseconds = 0;
    if (sd_bus_message_read(call, "x", &microseconds) < 0) return badArguments();
    // Beyond these years the clock's own units overflow.
    constexpr std::int64_t kFarthest = std::int64_t{200} * 366 * 24 * 3600 * 1'000'000;
    if (microseconds < 0 || microseconds > kFarthest)
        return Error{ErrorCode::InvalidInput, "a pause ends at an instant in microseconds since 1970"};
    return carryOutIfValid(target, &ControlTarget::pause,
                           PauseLength{WallTime{std::chrono::microseconds{microseconds}}});
}

Result<void> pauseUntilMorning(ControlTarget& target, sd_bus_message*, sd_bus_message*) {
    return target.pause(UntilMorning{});
}

Result<void> selectPreset(ControlTarget& target, sd_bus_message* call, sd_bus_message*) {
    const char* id = nullptr;
    if (sd_bus_message_read(call, "s", &id) < 0) return badArguments();
    return target.selectPreset(id);
}

Result<void> setAdjustments(ControlTarget& target, sd_bus_message* call, sd_bus_message*) {
    AdjustmentChange change;
    const std::array<std::pair<std::string_view, std::optional<double>*>, 4> sliders{
        {{"intensity", &change.intensity},
         {"dimming", &change.dimming},
         {"blackPoint", &change.blackPoint},
         {"contrast", &change.contrast}}};
    auto result = readChanges(call, [&](std::string_view key, char type, sd_bus_message* value) {
        double number = 0;
        if (type != 'd' || sd_bus_message_read(value, "d", &number) < 0) return false;
        for (const auto& [name, slider] : sliders)
            if (name == key) return static_cast<bool>(*slider = number);
        return false;
    });
    return result ? carryOutIfValid(target, &ControlTarget::setAdjustments, change) : result;
}

Result<void> setSchedule(ControlTarget& target, sd_bus_message* call, sd_bus_message*) {
    ScheduleChange change;
    auto result = readChanges(call, [&](std::string_view key, char type, sd_bus_message* value) {
        if (key == "enabled") return readFlag(type, value, change.enabled);
        if (key == "startMinutes") return readNumber(type, value, change.startMinutes);
        if (key == "endMinutes") return readNumber(type, value, change.endMinutes);
        const char* mode = nullptr;
        if (key != "mode" || type != 's' || sd_bus_message_read(value, "s", &mode) < 0) return false;
        change.mode = scheduleModeNamed(mode);
        return change.mode.has_value();
    });
    return result ? carryOutIfValid(target, &ControlTarget::setSchedule, change) : result;
}

Result<void> setBreaks(ControlTarget& target, sd_bus_message* call, sd_bus_message*) {
    BreaksChange change;
    auto result = readChanges(call, [&](std::string_view key, char type, sd_bus_message* value) {
        if (key == "enabled") return readFlag(type, value, change.enabled);
        return key == "intervalMinutes" && readNumber(type, value, change.intervalMinutes);
    });
    return result ? carryOutIfValid(target, &ControlTarget::setBreaks, change) : result;
}

Result<void> setLocation(ControlTarget& target, sd_bus_message* call, sd_bus_message*) {
    const char* source = nullptr;
    Position position;
    if (sd_bus_message_read(call, "sdd", &source, &position.latitude, &position.longitude) < 0) return badArguments();
    const auto named = locationSourceNamed(source);
    if (!named) return Error{ErrorCode::InvalidInput, "a position comes from \"service\", \"typed\" or \"zone\""};
    const bool isTyped = *named == LocationSource::typed;
    return carryOutIfValid(target, &ControlTarget::setLocation,
                           {*named, isTyped ? std::optional(position) : std::nullopt});
}

Result<void> importPresets(ControlTarget& target, sd_bus_message* call, sd_bus_message* reply) {
    const char* text = nullptr;
    if (sd_bus_message_read(call, "s", &text) < 0) return badArguments();
    const auto ids = target.importPresets(text);
    if (!ids) return ids.error();
    sd_bus_message_open_container(reply, 'a', "s");
    for (const auto& id : *ids) sd_bus_message_append(reply, "s", id.c_str());
    sd_bus_message_close_container(reply);
    return {};
}

Result<void> exportPresets(ControlTarget& target, sd_bus_message* call, sd_bus_message* reply) {
    std::vector<std::string> ids;
    if (sd_bus_message_enter_container(call, 'a', "s") < 0) return badArguments();
    for (const char* id = nullptr; sd_bus_message_read(call, "s", &id) > 0;) ids.emplace_back(id);
    const auto text = target.exportPresets(ids);
    if (!text) return text.error();
    sd_bus_message_append(reply, "s", text->c_str());
    return {};
}

}  // namespace

BusControlService::BusControlService(Bus& sessionBus, Scheduler& scheduler)
    : bus_(sessionBus), scheduler_(scheduler), changes_(scheduler, kAnnouncementInterval, [this] { announce(); }) {}

void BusControlService::serve(ControlTarget& target) {
    target_ = &target;
    start_ = scheduler_.after({}, [this] { connect(); });
}

void BusControlService::connect() {
    if (!bus_.open()) {
        reportOnce("session-bus", localized("there is no session bus: commands cannot reach this program"));
        return;
    }
    static const auto table = makeTable();
    announced_ = target_->controlState();
    sd_bus_slot* slot = nullptr;
    if (sd_bus_add_object_vtable(bus_.handle(), &slot, control::kObjectPath, control::kInterface, table.data(), this) <
        0) {
        reportOnce("session-bus", localized("the session bus cannot be served: commands cannot reach this program"));
        return;
    }
    object_.reset(slot);
    targetChanges_ = target_->onStateChange([this] { changes_.trigger(); });
    lost_ = bus_.onLost([this] {
        targetChanges_.reset();
        reportOnce("session-bus", localized("the session bus is gone: commands cannot reach this program any more"));
    });

    const auto onName = [](sd_bus_message* reply, void*, sd_bus_error*) {
        std::uint32_t outcome = 0;
        if (sd_bus_message_is_method_error(reply, nullptr) || sd_bus_message_read(reply, "u", &outcome) < 0 ||
            outcome == kInQueueForName)
            reportOnce("bus-name",
                       localized("another program holds org.dravo.Dravo on the session bus and gets our commands"));
        return 0;
    };
    slot = nullptr;
    // In the queue, so that commands reach this program as soon as the other one ends.
    sd_bus_request_name_async(bus_.handle(), &slot, control::kBusName, SD_BUS_NAME_QUEUE, onName, this);
    name_.reset(slot);
}

void BusControlService::announce() {
    const auto state = target_->controlState();
    std::vector<char*> changed;
    for (const auto& property : control::properties())
        if (!property.isCountdown && property.differs(announced_, state))
            changed.push_back(const_cast<char*>(property.name));
    announced_ = state;
    if (changed.empty()) return;
    changed.push_back(nullptr);
    sd_bus_emit_properties_changed_strv(bus_.handle(), control::kObjectPath, control::kInterface, changed.data());
}

int BusControlService::onGet(sd_bus*, const char*, const char*, const char* name, sd_bus_message* reply, void* self,
                             sd_bus_error*) {
    return control::propertyNamed(name)->append(reply, static_cast<BusControlService*>(self)->target_->controlState());
}

template <BusControlService::Operation operation>
int BusControlService::onCall(sd_bus_message* call, void* self, sd_bus_error* error) {
    return static_cast<BusControlService*>(self)->carryOut(operation, call, error);
}

int BusControlService::carryOut(Operation operation, sd_bus_message* call, sd_bus_error* error) {
    sd_bus_message* made = nullptr;
    if (const int result = sd_bus_message_new_method_return(call, &made); result < 0) return result;
    const Message reply(made);
    const auto result = operation(*target_, call, reply.get());
    if (!result)
        return sd_bus_error_set(error, control::errorName(result.error().code), result.error().message.c_str());
    return sd_bus_send(nullptr, reply.get(), nullptr);
}

std::vector<sd_bus_vtable> BusControlService::makeTable() {
    using Target = ControlTarget;
    // `names` are those of the arguments, in and out.
    const auto method = [](const char* name, const char* in, const char* out, const char* names,
                           sd_bus_message_handler_t handler) {
        sd_bus_vtable entry = SD_BUS_METHOD(name, in, out, handler, SD_BUS_VTABLE_UNPRIVILEGED);
        entry.x.method.names = names;
        return entry;
    };
    const auto order = [&](const char* name, sd_bus_message_handler_t handler) {
        return method(name, "", "", "", handler);
    };
    std::vector<sd_bus_vtable> table;
    table.push_back(startOfBusTable());
    for (const auto& property : control::properties()) {
        if (property.isCountdown)
            table.push_back(SD_BUS_PROPERTY(property.name, property.signature, onGet, 0, 0));
        else
            table.push_back(
                SD_BUS_PROPERTY(property.name, property.signature, onGet, 0, SD_BUS_VTABLE_PROPERTY_EMITS_CHANGE));
    }
    const auto methods = {
        order("Toggle", onCall<plain<&Target::toggle>>),
        order("On", onCall<plain<&Target::switchOn>>),
        order("Off", onCall<plain<&Target::switchOff>>),
        method("PauseFor", "u", "", SD_BUS_PARAM(seconds), onCall<pauseFor>),
        method("PauseUntil", "x", "", SD_BUS_PARAM(microseconds), onCall<pauseUntil>),
        order("PauseUntilMorning", onCall<pauseUntilMorning>),
        order("Resume", onCall<plain<&Target::resume>>),
        method("SelectPreset", "s", "", SD_BUS_PARAM(id), onCall<selectPreset>),
        method("SetAdjustments", "a{sv}", "", SD_BUS_PARAM(changes), onCall<setAdjustments>),
        method("SetSchedule", "a{sv}", "", SD_BUS_PARAM(changes), onCall<setSchedule>),
        method("SetLocation", "sdd", "", SD_BUS_PARAM(source) SD_BUS_PARAM(latitude) SD_BUS_PARAM(longitude),
               onCall<setLocation>),
        method("SetBreaks", "a{sv}", "", SD_BUS_PARAM(changes), onCall<setBreaks>),
        order("DismissBreak", onCall<plain<&Target::dismissBreak>>),
        method("ImportPresets", "s", "as", SD_BUS_PARAM(json) SD_BUS_PARAM(ids), onCall<importPresets>),
        method("ExportPresets", "as", "s", SD_BUS_PARAM(ids) SD_BUS_PARAM(json), onCall<exportPresets>),
        order("Activate", onCall<plain<&Target::activate>>),
        order("Restore", onCall<plain<&Target::restore>>),
        order("Quit", onCall<plain<&Target::quit>>),
    };
    table.insert(table.end(), methods);
    table.push_back(SD_BUS_VTABLE_END);
    return table;
}

}  // namespace dravo::dbus
