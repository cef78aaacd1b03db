#include "app/control_state.h"

#include <array>
#include <nlohmann/json.hpp>
#include <utility>

#include "base/localized.h"
#include "base/utc_text.h"

namespace dravo {

namespace {

// Keys in the order in which they are written here.
using Json = nlohmann::ordered_json;

constexpr std::array<std::pair<ScheduleMode, std::string_view>, 2> kModes{
    {{ScheduleMode::customTimes, "customTimes"}, {ScheduleMode::sunsetToSunrise, "sunsetToSunrise"}}};
constexpr std::array<std::pair<LocationSource, std::string_view>, 3> kSources{
    {{LocationSource::service, "service"}, {LocationSource::typed, "typed"}, {LocationSource::zone, "zone"}}};

template <typename Value, std::size_t size>
std::string_view nameIn(const std::array<std::pair<Value, std::string_view>, size>& names, Value value) {
    for (const auto& [known, name] : names)
        if (known == value) return name;
    return {};
}

template <typename Value, std::size_t size>
std::optional<Value> valueIn(const std::array<std::pair<Value, std::string_view>, size>& names, std::string_view name) {
    for (const auto& [value, known] : names)
        if (known == name) return value;
    return std::nullopt;
}

/// A name in another encoding is shown with replacement characters; it is never a reason to show nothing.
std::string textOf(const Json& json) { return json.dump(-1, ' ', false, Json::error_handler_t::replace); }

/// The text of an object with more behind its last member.
std::string extended(std::string object, std::string_view more) {
    object.pop_back();
    return object.append(more) + "}";
}

}  // namespace

std::string_view nameOf(ScheduleMode mode) { return nameIn(kModes, mode); }
std::string_view nameOf(LocationSource source) { return nameIn(kSources, source); }
std::optional<ScheduleMode> scheduleModeNamed(std::string_view name) { return valueIn(kModes, name); }
std::optional<LocationSource> locationSourceNamed(std::string_view name) { return valueIn(kSources, name); }

ControlledDisplay controlled(const DisplayDescription& display) {
    return {display.id, display.name, display.tableSize, inEnglish(display.problem)};
}

std::string displayJson(const ControlledDisplay& display, std::string_view more) {
    const bool isReady = display.problem.empty();
    const Json json = {{"id", static_cast<std::uint32_t>(display.id)},
                       {"name", display.name},
                       {"tableSize", display.tableSize},
                       {"state", isReady ? "ready" : "unsupported"},
                       {"problem", isReady ? Json(nullptr) : Json(display.problem)}};
    return extended(textOf(json), more);
}

std::string controlStateJson(const ControlState& state) {
    Json nextChange = nullptr;
    if (state.nextChange)
        nextChange = {{"at", utcText(state.nextChange->at)}, {"state", state.nextChange->turnsOn ? "on" : "off"}};
    const Json json = {{"isEnabled", state.isEnabled},
                       {"preset", state.preset},
                       {"intensity", state.intensity},
                       {"dimming", state.dimming},
                       {"blackPoint", state.blackPoint},
                       {"contrast", state.contrast},
                       {"isEdited", state.isEdited},
                       {"pausedUntil", state.pausedUntil ? Json(utcText(*state.pausedUntil)) : Json(nullptr)},
                       {"melanopicReduction", state.melanopicReduction},
                       {"schedule",
                        {{"enabled", state.schedule.enabled},
                         {"mode", nameOf(state.schedule.mode)},
                         {"startMinutes", state.schedule.startMinutes},
                         {"endMinutes", state.schedule.endMinutes}}},
                       {"nextChange", nextChange},
                       {"breaks",
                        {{"enabled", state.breaks.enabled},
                         {"intervalMinutes", state.breaks.intervalMinutes},
                         {"secondsRemaining", state.breaks.secondsRemaining}}}};
    std::string displays;
    for (const auto& display : state.displays) displays += (displays.empty() ? "" : ",") + displayJson(display);
    return extended(textOf(json), R"(,"displays":[)" + displays + R"(],"lacksGrayscale":)" +
                                      (state.lacksGrayscale ? "true" : "false"));
}

}  // namespace dravo
