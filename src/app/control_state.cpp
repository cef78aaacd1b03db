#include "app/control_state.h"

#include <array>
#include <nlohmann/json.hpp>
#include <utility>

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

Json displaysJson(const std::vector<DisplayDescription>& displays) {
    auto list = Json::array();
    for (const auto& display : displays) {
        const bool isReady = display.problem.empty();
        list.push_back({{"id", static_cast<std::uint32_t>(display.id)},
                        {"name", display.name},
                        {"tableSize", display.tableSize},
                        {"state", isReady ? "ready" : "unsupported"},
                        {"problem", isReady ? Json(nullptr) : Json(display.problem)}});
    }
    return list;
}

}  // namespace

std::string_view nameOf(ScheduleMode mode) { return nameIn(kModes, mode); }
std::string_view nameOf(LocationSource source) { return nameIn(kSources, source); }
std::optional<ScheduleMode> scheduleModeNamed(std::string_view name) { return valueIn(kModes, name); }
std::optional<LocationSource> locationSourceNamed(std::string_view name) { return valueIn(kSources, name); }

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
                         {"secondsRemaining", state.breaks.secondsRemaining}}},
                       {"displays", displaysJson(state.displays)}};
    // A name in another encoding is shown with replacement characters; it is never a reason to show nothing.
    return json.dump(-1, ' ', false, Json::error_handler_t::replace);
}

}  // namespace dravo
