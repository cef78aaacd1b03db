#include "platform/dbus/control_interface.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <iterator>
#include <string>
#include <tuple>
#include <type_traits>
#include <utility>
#include <vector>

#include "platform/dbus/bus.h"
#include "platform/dbus/report_message.h"

namespace dravo::dbus::control {

namespace {

using Coordinates = std::vector<double>;  // latitude and longitude, or nothing
using Instant = std::int64_t;             // microseconds since 1970, UTC; 0: none

Instant toInstant(const std::optional<WallTime>& time) {
    return time ? std::chrono::floor<std::chrono::microseconds>(time->time_since_epoch()).count() : 0;
}

std::optional<WallTime> fromInstant(Instant instant) {
    return instant == 0 ? std::nullopt : std::optional(WallTime{std::chrono::microseconds{instant}});
}

using NextChange = std::optional<ControlState::NextChange>;

struct Place {
    std::string source;
    Position position;
};

using control::append;
using control::read;

// How values travel: a signature, and both ways. Negative is the bus library's error; what reads an element of an array
// gives 0 behind the last one.

const char* signatureOf(bool) { return "b"; }
const char* signatureOf(double) { return "d"; }
const char* signatureOf(std::int32_t) { return "i"; }
const char* signatureOf(std::uint32_t) { return "u"; }
const char* signatureOf(Instant) { return "x"; }
const char* signatureOf(ScheduleMode) { return "s"; }
const char* signatureOf(LocationSource) { return "s"; }
const char* signatureOf(const std::string&) { return "s"; }
const char* signatureOf(const std::vector<std::string>&) { return "as"; }
const char* signatureOf(const Coordinates&) { return "ad"; }
const char* signatureOf(const std::optional<WallTime>&) { return "x"; }
const char* signatureOf(const NextChange&) { return "(xs)"; }
const char* signatureOf(const ControlledDisplay&) { return "(usus)"; }
const char* signatureOf(const std::vector<ControlledDisplay>&) { return "a(usus)"; }
const char* signatureOf(const Place&) { return "sdd"; }
const char* signatureOf(const HeldDisplay&) { return kHeldDisplay; }
constexpr const char* kDisplayList = "sa(usu(ssas)adadad)";

template <typename Number>
requires std::is_arithmetic_v<Number>
int append(sd_bus_message* m, Number value) { return sd_bus_message_append(m, signatureOf(value), value); }
int append(sd_bus_message* m, const std::string& value) { return sd_bus_message_append(m, "s", value.c_str()); }
int append(sd_bus_message* m, ScheduleMode value) { return append(m, std::string(nameOf(value))); }
int append(sd_bus_message* m, LocationSource value) { return append(m, std::string(nameOf(value))); }
int append(sd_bus_message* m, const std::optional<WallTime>& value) { return append(m, toInstant(value)); }
int append(sd_bus_message* m, const NextChange& value) {
    return value ? sd_bus_message_append(m, "(xs)", toInstant(value->at), value->turnsOn ? "on" : "off")
                 : sd_bus_message_append(m, "(xs)", Instant{0}, "");
}
int append(sd_bus_message* m, const ControlledDisplay& value) {
    return sd_bus_message_append(m, "(usus)", static_cast<std::uint32_t>(value.id), value.name.c_str(),
                                 static_cast<std::uint32_t>(value.tableSize), value.problem.c_str());
}
int append(sd_bus_message* m, const Place& value) {
    return sd_bus_message_append(m, "sdd", value.source.c_str(), value.position.latitude, value.position.longitude);
}
template <typename Element>
int append(sd_bus_message* m, const std::vector<Element>& values) {
    int result = sd_bus_message_open_container(m, 'a', signatureOf(Element{}));
    for (const auto& value : values)
        if (result >= 0) result = append(m, value);
    return result < 0 ? result : sd_bus_message_close_container(m);
}

template <typename Number>
requires std::is_arithmetic_v<Number>
int read(sd_bus_message* m, Number& value) { return sd_bus_message_read(m, signatureOf(value), &value); }
int read(sd_bus_message* m, bool& value) {
    int flag = 0;
    const int result = sd_bus_message_read(m, "b", &flag);
    value = flag != 0;
    return result;
}
int read(sd_bus_message* m, std::string& value) {
    const char* text = "";
    const int result = sd_bus_message_read(m, "s", &text);
    value = text;
    return result;
}
template <typename Value>
int readName(sd_bus_message* m, Value& value, std::optional<Value> (*named)(std::string_view)) {
    std::string name;
    const int result = read(m, name);
    const auto known = named(name);
    if (known) value = *known;
    return result < 0 || known ? result : -EINVAL;
}
int read(sd_bus_message* m, ScheduleMode& value) { return readName(m, value, scheduleModeNamed); }
int read(sd_bus_message* m, LocationSource& value) { return readName(m, value, locationSourceNamed); }
int read(sd_bus_message* m, std::optional<WallTime>& value) {
    Instant instant = 0;
    const int result = read(m, instant);
    value = fromInstant(instant);
    return result;
}
int read(sd_bus_message* m, NextChange& value) {
    Instant at = 0;
    const char* state = "";
    const int result = sd_bus_message_read(m, "(xs)", &at, &state);
    if (*state) value = {fromInstant(at).value_or(WallTime{}), std::string_view(state) == "on"};
    return result;
}
int read(sd_bus_message* m, ControlledDisplay& value) {
    std::uint32_t id = 0;
    std::uint32_t size = 0;
    const char* name = "";
    const char* problem = "";
    const int result = sd_bus_message_read(m, "(usus)", &id, &name, &size, &problem);
    value = {DisplayId{id}, name, size, problem};
    return result;
}
int read(sd_bus_message* m, Place& value) {
    const int result = read(m, value.source);
    return result < 0 ? result : sd_bus_message_read(m, "dd", &value.position.latitude, &value.position.longitude);
}
template <typename Element>
int read(sd_bus_message* m, std::vector<Element>& values) {
    Element value{};
    int result = sd_bus_message_enter_container(m, 'a', signatureOf(value));
    while (result >= 0 && (result = read(m, value)) > 0) values.push_back(value);
    return result < 0 ? result : sd_bus_message_exit_container(m);
}

/// `get` takes the value out of a state, `set` puts one in; both are captureless.
template <typename Get, typename Set>
Property property(const char* name, Get, Set) {
    using Value = std::remove_cvref_t<std::invoke_result_t<Get, const ControlState&>>;
    return {name,
            signatureOf(Value{}),
            false,
            [](sd_bus_message* message, const ControlState& state) { return append(message, Get{}(state)); },
            [](sd_bus_message* message, ControlState& state) {
                Value value{};
                const int result = read(message, value);
                if (result >= 0) Set{}(state, std::move(value));
                return result;
            },
            [](const ControlState& one, const ControlState& other) { return !(Get{}(one) == Get{}(other)); }};
}

/// A property that is one member of the state, which `member` leads to.
template <typename Member>
Property field(const char* name, Member) {
    return property(
        name, [](const ControlState& state) { return Member{}(state); },
        [](ControlState& state, auto value) { Member{}(state) = std::move(value); });
}

template <typename Member>
Property countdown(const char* name, Member member) {
    auto result = field(name, member);
    result.isCountdown = true;
    return result;
}

#define MEMBER(path) \
    [](auto& state) -> auto& { return state.path; }

std::vector<Property> makeProperties() {
    using State = ControlState;
    return {
        field("IsEnabled", MEMBER(isEnabled)),
        field("Preset", MEMBER(preset)),
        field("Intensity", MEMBER(intensity)),
        field("Dimming", MEMBER(dimming)),
        field("BlackPoint", MEMBER(blackPoint)),
        field("Contrast", MEMBER(contrast)),
        field("IsEdited", MEMBER(isEdited)),
        field("PausedUntil", MEMBER(pausedUntil)),
        field("MelanopicReduction", MEMBER(melanopicReduction)),
        field("ScheduleEnabled", MEMBER(schedule.enabled)),
        field("ScheduleMode", MEMBER(schedule.mode)),
        field("ScheduleStartMinutes", MEMBER(schedule.startMinutes)),
        field("ScheduleEndMinutes", MEMBER(schedule.endMinutes)),
        field("NextChange", MEMBER(nextChange)),
        field("BreaksEnabled", MEMBER(breaks.enabled)),
        field("BreakIntervalMinutes", MEMBER(breaks.intervalMinutes)),
        property(
            "IsOnBreak", [](const State& state) { return state.breaks.breakSecondsLeft > 0; }, [](State&, bool) {}),
        countdown("BreakSecondsRemaining", MEMBER(breaks.secondsRemaining)),
        countdown("BreakSecondsLeft", MEMBER(breaks.breakSecondsLeft)),
        field("LocationSource", MEMBER(location.source)),
        field("LocationStatus", MEMBER(location.status)),
        property(
            "Position",
            [](const State& state) {
                const auto& [source, status, latitude, longitude] = state.location;
                return latitude && longitude ? Coordinates{*latitude, *longitude} : Coordinates{};
            },
            [](State& state, const Coordinates& value) {
                if (value.size() != 2) return;
                state.location.latitude = value[0];
                state.location.longitude = value[1];
            }),
        field("Displays", MEMBER(displays)),
        field("LacksGrayscale", MEMBER(lacksGrayscale)),
    };
}

#undef MEMBER

Error refused(Sentence sentence) { return {ErrorCode::InvalidInput, std::move(sentence)}; }
Error badArguments() { return refused("the call's arguments cannot be read"); }

/// A request without arguments.
template <typename Request>
Method order(const char* name, const char* answer = "", const char* names = "") {
    return {name,
            "",
            answer,
            names,
            [](sd_bus_message*, const ControlRequest&) { return 0; },
            [](sd_bus_message*) -> Result<ControlRequest> { return ControlRequest(Request{}); }};
}

/// A request that travels as one value: `get` takes it out of a request, `make` makes one of it, or refuses; both are
/// captureless.
template <typename Request, typename Get, typename Make>
Method method(const char* name, const char* names, Get, Make, const char* answer = "") {
    using Value = std::remove_cvref_t<std::invoke_result_t<Get, const Request&>>;
    return {name,
            signatureOf(Value{}),
            answer,
            names,
            [](sd_bus_message* call, const ControlRequest& request) {
                return append(call, Get{}(std::get<Request>(request)));
            },
            [](sd_bus_message* call) -> Result<ControlRequest> {
                Value value{};
                if (read(call, value) < 0) return badArguments();
                if constexpr (std::is_same_v<std::invoke_result_t<Make, Value>, Result<ControlRequest>>)
                    return Make{}(std::move(value));
                else
                    return ControlRequest(Make{}(std::move(value)));
            }};
}

/// An entry of the dictionary that a change travels as.
template <typename Request, typename Value>
struct Entry {
    const char* key;
    std::optional<Value> Request::*member;

    int appendFrom(const Request& change, sd_bus_message* call) const {
        const auto& value = change.*member;
        if (!value) return 0;
        sd_bus_message_open_container(call, 'e', "sv");
        append(call, std::string(key));
        sd_bus_message_open_container(call, 'v', signatureOf(*value));
        append(call, *value);
        sd_bus_message_close_container(call);
        return sd_bus_message_close_container(call);
    }
    bool readInto(Request& change, std::string_view itsKey, std::string_view signature, sd_bus_message* call) const {
        Value value{};
        if (itsKey != key || signature != signatureOf(value) || read(call, value) < 0) return false;
        change.*member = value;
        return true;
    }
};
template <typename Request, typename Value>
Entry(const char*, std::optional<Value> Request::*) -> Entry<Request, Value>;

template <typename Request>
constexpr std::tuple kEntries{};
template <>
constexpr std::tuple kEntries<request::SetAdjustments>{
    Entry{"intensity", &request::SetAdjustments::intensity}, Entry{"dimming", &request::SetAdjustments::dimming},
    Entry{"blackPoint", &request::SetAdjustments::blackPoint}, Entry{"contrast", &request::SetAdjustments::contrast}};
template <>
constexpr std::tuple kEntries<request::SetSchedule>{
    Entry{"enabled", &request::SetSchedule::enabled}, Entry{"mode", &request::SetSchedule::mode},
    Entry{"startMinutes", &request::SetSchedule::startMinutes}, Entry{"endMinutes", &request::SetSchedule::endMinutes}};
template <>
constexpr std::tuple kEntries<request::SetBreaks>{Entry{"enabled", &request::SetBreaks::enabled},
                                                  Entry{"intervalMinutes", &request::SetBreaks::intervalMinutes}};

template <typename Request>
int appendChanges(sd_bus_message* call, const ControlRequest& request) {
    const auto& change = std::get<Request>(request);
    sd_bus_message_open_container(call, 'a', "{sv}");
    std::apply([&](const auto&... entry) { (entry.appendFrom(change, call), ...); }, kEntries<Request>);
    return sd_bus_message_close_container(call);
}

template <typename Request>
Result<ControlRequest> readChanges(sd_bus_message* call) {
    Request change;
    std::optional<std::string> unknown;
    const bool isReadable = readDictionary(call, [&](const char* key, const char* signature, sd_bus_message* value) {
        const auto readIntoOne = [&](const auto&... entry) {
            return (entry.readInto(change, key, signature, value) || ...);
        };
        if (!std::apply(readIntoOne, kEntries<Request>)) unknown = key;
    });
    if (!isReadable) return badArguments();
    if (unknown) return refused("there is no \"" + *unknown + "\" of this type to set");
    return ControlRequest(change);
}

template <typename Request>
Method changes(const char* name) {
    return {name, "a{sv}", "", SD_BUS_PARAM(changes), appendChanges<Request>, readChanges<Request>};
}

Result<ControlRequest> untilInstant(Instant end) {
    // Beyond these years the clock's own units overflow.
    constexpr std::int64_t kFarthest = std::int64_t{200} * 366 * 24 * 3600 * 1'000'000;
    if (end < 0 || end > kFarthest) return refused("a pause ends at an instant in microseconds since 1970");
    return ControlRequest(request::PauseUntil{WallTime{std::chrono::microseconds{end}}});
}

Result<ControlRequest> atPlace(const Place& place) {
    const auto source = locationSourceNamed(place.source);
    if (!source) return refused("a position comes from \"service\", \"typed\" or \"zone\"");
    const bool isTyped = source == LocationSource::typed;
    return ControlRequest(request::SetLocation{*source, isTyped ? std::optional(place.position) : std::nullopt});
}

using Methods = std::array<Method, std::variant_size_v<ControlRequest>>;

Methods makeMethods() {
    return {
        order<request::Toggle>("Toggle"),
        order<request::SwitchOn>("On"),
        order<request::SwitchOff>("Off"),
        method<request::PauseFor>(
            "PauseFor", SD_BUS_PARAM(seconds),
            [](const auto& pause) { return static_cast<std::uint32_t>(pause.length.count()); },
            [](std::uint32_t seconds) { return request::PauseFor{std::chrono::seconds{seconds}}; }),
        method<request::PauseUntil>(
            "PauseUntil", SD_BUS_PARAM(microseconds), [](const auto& pause) { return toInstant(pause.end); },
            [](Instant end) { return untilInstant(end); }),
        order<request::PauseUntilMorning>("PauseUntilMorning"),
        order<request::Resume>("Resume"),
        method<request::SelectPreset>(
            "SelectPreset", SD_BUS_PARAM(id), [](const auto& selection) { return selection.id; },
            [](std::string id) { return request::SelectPreset{std::move(id)}; }),
        changes<request::SetAdjustments>("SetAdjustments"),
        order<request::RevertToPreset>("RevertToPreset"),
        changes<request::SetSchedule>("SetSchedule"),
        method<request::SetLocation>(
            "SetLocation", SD_BUS_PARAM(source) SD_BUS_PARAM(latitude) SD_BUS_PARAM(longitude),
            [](const auto& to) {
                return Place{std::string(nameOf(to.source)), to.position.value_or(Position{})};
            },
            [](const Place& place) { return atPlace(place); }),
        changes<request::SetBreaks>("SetBreaks"),
        order<request::DismissBreak>("DismissBreak"),
        method<request::ImportPresets>(
            "ImportPresets", SD_BUS_PARAM(json) SD_BUS_PARAM(ids), [](const auto& import) { return import.text; },
            [](std::string text) { return request::ImportPresets{std::move(text)}; }, "as"),
        method<request::ExportPresets>(
            "ExportPresets", SD_BUS_PARAM(ids) SD_BUS_PARAM(json), [](const auto& wanted) { return wanted.ids; },
            [](std::vector<std::string> ids) { return request::ExportPresets{std::move(ids)}; }, "s"),
        order<request::Activate>("Activate"),
        order<request::Restore>("Restore"),
        order<request::Quit>("Quit"),
        order<request::ListDisplays>("ListDisplays", kDisplayList, SD_BUS_PARAM(backend) SD_BUS_PARAM(displays)),
    };
}

constexpr std::string_view kErrorPrefix = "org.dravo.Dravo.Error.";
/// In the order of the codes.
constexpr std::string_view kErrorNames[] = {"Unsupported",  "Busy",     "Disconnected", "PermissionDenied",
                                            "InvalidInput", "NotFound", "Internal"};

template <typename Row>
const Row* named(std::span<const Row> rows, std::string_view name) {
    for (const auto& row : rows)
        if (name == row.name) return &row;
    return nullptr;
}

}  // namespace

std::span<const Property> properties() {
    static const std::vector<Property> all = makeProperties();
    return all;
}

std::span<const Method> methods() {
    static const Methods all = makeMethods();
    return all;
}

const Property* propertyNamed(std::string_view name) { return named(properties(), name); }
const Method* methodNamed(std::string_view name) { return named(methods(), name); }

void appendAnswer(const Method& method, sd_bus_message* reply, const ControlAnswer& answer) {
    const std::string_view form = method.answer;
    if (form == signatureOf(answer.ids)) append(reply, answer.ids);
    if (form == signatureOf(answer.json)) append(reply, answer.json);
    if (form == kDisplayList) {
        append(reply, answer.backend);
        append(reply, answer.displays);
    }
}

ControlAnswer readAnswer(const Method& method, sd_bus_message* reply) {
    ControlAnswer answer;
    const std::string_view form = method.answer;
    if (form == signatureOf(answer.ids)) read(reply, answer.ids);
    if (form == signatureOf(answer.json)) read(reply, answer.json);
    if (form == kDisplayList) {
        read(reply, answer.backend);
        read(reply, answer.displays);
    }
    return answer;
}

std::string errorName(ErrorCode code) {
    return std::string(kErrorPrefix).append(kErrorNames[static_cast<std::size_t>(code)]);
}

std::optional<ErrorCode> errorCodeNamed(std::string_view name) {
    if (!name.starts_with(kErrorPrefix)) return std::nullopt;
    const auto found = std::ranges::find(kErrorNames, name.substr(kErrorPrefix.size()));
    if (found == std::end(kErrorNames)) return std::nullopt;
    return static_cast<ErrorCode>(found - std::begin(kErrorNames));
}

}  // namespace dravo::dbus::control
