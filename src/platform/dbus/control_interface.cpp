#include "platform/dbus/control_interface.h"

#include <array>
#include <chrono>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

namespace dravo::dbus::control {

namespace {

using Displays = std::vector<DisplayDescription>;
using Coordinates = std::vector<double>;  // latitude and longitude, or nothing

struct Instant {
    std::int64_t microseconds = 0;  // since 1970, UTC; 0: none
    bool operator==(const Instant&) const = default;
};

Instant toInstant(const std::optional<WallTime>& time) {
    if (!time) return {};
    return {std::chrono::floor<std::chrono::microseconds>(time->time_since_epoch()).count()};
}

std::optional<WallTime> fromInstant(Instant instant) {
    if (instant.microseconds == 0) return std::nullopt;
    return WallTime{std::chrono::microseconds{instant.microseconds}};
}

struct NextChange {
    Instant at;
    std::string state;  // "on", "off", or empty: none
    bool operator==(const NextChange&) const = default;
};

NextChange toNextChange(const std::optional<ControlState::NextChange>& change) {
    if (!change) return {};
    return {toInstant(change->at), change->turnsOn ? "on" : "off"};
}

std::optional<ControlState::NextChange> fromNextChange(const NextChange& change) {
    if (change.state.empty()) return std::nullopt;
    return ControlState::NextChange{fromInstant(change.at).value_or(WallTime{}), change.state == "on"};
}

const char* signatureOf(bool) { return "b"; }
const char* signatureOf(double) { return "d"; }
const char* signatureOf(std::int32_t) { return "i"; }
const char* signatureOf(Instant) { return "x"; }
const char* signatureOf(const std::string&) { return "s"; }
const char* signatureOf(const NextChange&) { return "(xs)"; }
const char* signatureOf(const Coordinates&) { return "ad"; }
const char* signatureOf(const Displays&) { return "a(usus)"; }

int append(sd_bus_message* m, bool value) { return sd_bus_message_append(m, "b", static_cast<int>(value)); }
int append(sd_bus_message* m, double value) { return sd_bus_message_append(m, "d", value); }
int append(sd_bus_message* m, std::int32_t value) { return sd_bus_message_append(m, "i", value); }
int append(sd_bus_message* m, Instant value) { return sd_bus_message_append(m, "x", value.microseconds); }
int append(sd_bus_message* m, const std::string& value) { return sd_bus_message_append(m, "s", value.c_str()); }
int append(sd_bus_message* m, const NextChange& value) {
    return sd_bus_message_append(m, "(xs)", value.at.microseconds, value.state.c_str());
}
int append(sd_bus_message* m, const Coordinates& value) {
    return sd_bus_message_append_array(m, 'd', value.data(), value.size() * sizeof(double));
}
int append(sd_bus_message* m, const Displays& value) {
    int result = sd_bus_message_open_container(m, 'a', "(usus)");
    for (const auto& display : value) {
        if (result < 0) return result;
        result = sd_bus_message_append(m, "(usus)", static_cast<std::uint32_t>(display.id), display.name.c_str(),
                                       static_cast<std::uint32_t>(display.tableSize), display.problem.c_str());
    }
    return result < 0 ? result : sd_bus_message_close_container(m);
}

int read(sd_bus_message* m, bool& value) {
    int flag = 0;
    const int result = sd_bus_message_read(m, "b", &flag);
    value = flag != 0;
    return result;
}
int read(sd_bus_message* m, double& value) { return sd_bus_message_read(m, "d", &value); }
int read(sd_bus_message* m, std::int32_t& value) { return sd_bus_message_read(m, "i", &value); }
int read(sd_bus_message* m, Instant& value) { return sd_bus_message_read(m, "x", &value.microseconds); }
int read(sd_bus_message* m, std::string& value) {
    const char* text = "";
    const int result = sd_bus_message_read(m, "s", &text);
    value = text;
    return result;
}
int read(sd_bus_message* m, NextChange& value) {
    const char* state = "";
    const int result = sd_bus_message_read(m, "(xs)", &value.at.microseconds, &state);
    value.state = state;
    return result;
}
int read(sd_bus_message* m, Coordinates& value) {
    const void* numbers = nullptr;
    std::size_t size = 0;
    const int result = sd_bus_message_read_array(m, 'd', &numbers, &size);
    if (result >= 0 && size > 0) {
        const auto* first = static_cast<const double*>(numbers);
        value.assign(first, first + size / sizeof(double));
    }
    return result;
}
int read(sd_bus_message* m, Displays& value) {
    int result = sd_bus_message_enter_container(m, 'a', "(usus)");
    if (result < 0) return result;
    std::uint32_t id = 0;
    std::uint32_t size = 0;
    const char* name = nullptr;
    const char* problem = nullptr;
    while ((result = sd_bus_message_read(m, "(usus)", &id, &name, &size, &problem)) > 0)
        value.push_back({DisplayId{id}, name, size, problem});
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
        property(
            "PausedUntil", [](const State& state) { return toInstant(state.pausedUntil); },
            [](State& state, Instant value) { state.pausedUntil = fromInstant(value); }),
        field("MelanopicReduction", MEMBER(melanopicReduction)),
        field("ScheduleEnabled", MEMBER(schedule.enabled)),
        property(
            "ScheduleMode", [](const State& state) { return std::string(nameOf(state.schedule.mode)); },
            [](State& state, const std::string& value) {
                state.schedule.mode = scheduleModeNamed(value).value_or(state.schedule.mode);
            }),
        field("ScheduleStartMinutes", MEMBER(schedule.startMinutes)),
        field("ScheduleEndMinutes", MEMBER(schedule.endMinutes)),
        property(
            "NextChange", [](const State& state) { return toNextChange(state.nextChange); },
            [](State& state, const NextChange& value) { state.nextChange = fromNextChange(value); }),
        field("BreaksEnabled", MEMBER(breaks.enabled)),
        field("BreakIntervalMinutes", MEMBER(breaks.intervalMinutes)),
        countdown("BreakSecondsRemaining", MEMBER(breaks.secondsRemaining)),
        countdown("BreakSecondsLeft", MEMBER(breaks.breakSecondsLeft)),
        property(
            "LocationSource", [](const State& state) { return std::string(nameOf(state.location.source)); },
            [](State& state, const std::string& value) {
                state.location.source = locationSourceNamed(value).value_or(state.location.source);
            }),
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
    };
}

#undef MEMBER

constexpr std::array<std::pair<ErrorCode, const char*>, 7> kErrorNames{{
    {ErrorCode::Unsupported, "org.dravo.Dravo.Error.Unsupported"},
    {ErrorCode::Busy, "org.dravo.Dravo.Error.Busy"},
    {ErrorCode::Disconnected, "org.dravo.Dravo.Error.Disconnected"},
    {ErrorCode::PermissionDenied, "org.dravo.Dravo.Error.PermissionDenied"},
    {ErrorCode::InvalidInput, "org.dravo.Dravo.Error.InvalidInput"},
    {ErrorCode::NotFound, "org.dravo.Dravo.Error.NotFound"},
    {ErrorCode::Internal, "org.dravo.Dravo.Error.Internal"},
}};

}  // namespace

std::span<const Property> properties() {
    static const std::vector<Property> all = makeProperties();
    return all;
}

const Property* propertyNamed(std::string_view name) {
    for (const auto& property : properties())
        if (name == property.name) return &property;
    return nullptr;
}

const char* errorName(ErrorCode code) {
    for (const auto& [known, name] : kErrorNames)
        if (known == code) return name;
    return errorName(ErrorCode::Internal);
}

std::optional<ErrorCode> errorCodeNamed(std::string_view name) {
    for (const auto& [code, known] : kErrorNames)
        if (name == known) return code;
    return std::nullopt;
}

}  // namespace dravo::dbus::control
