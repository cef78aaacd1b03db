#include "app/hand_over.h"

#include <nlohmann/json.hpp>

namespace dravo {

using nlohmann::json;

std::string encodeHandOver(const HandOver& handOver) {
    const auto& state = handOver.state;
    const auto& [intensity, dimming, blackPoint, contrast] = state.adjustments;
    json text{{"process", handOver.process},     {"lock", handOver.lock},
              {"hasGrayOn", handOver.hasGrayOn}, {"hasPanel", handOver.hasPanel},
              {"isEnabled", state.isEnabled},    {"scheduleOverride", state.scheduleOverride},
              {"presetID", state.presetID},      {"adjustments", {intensity, dimming, blackPoint, contrast}}};
    if (state.pausedUntil) text["pausedUntil"] = state.pausedUntil->time_since_epoch().count();
    if (state.lastInWindow) text["lastInWindow"] = *state.lastInWindow;
    return text.dump(-1, ' ', false, json::error_handler_t::replace);
}

std::optional<HandOver> decodeHandOver(std::string_view text) try {
    const json parsed = json::parse(text);
    HandOver handOver;
    auto& state = handOver.state;
    parsed.at("process").get_to(handOver.process);
    parsed.at("lock").get_to(handOver.lock);
    parsed.at("hasGrayOn").get_to(handOver.hasGrayOn);
    parsed.at("hasPanel").get_to(handOver.hasPanel);
    parsed.at("isEnabled").get_to(state.isEnabled);
    parsed.at("scheduleOverride").get_to(state.scheduleOverride);
    parsed.at("presetID").get_to(state.presetID);
    const auto [intensity, dimming, blackPoint, contrast] = parsed.at("adjustments").get<std::array<double, 4>>();
    state.adjustments = {intensity, dimming, blackPoint, contrast};
    if (const auto end = parsed.find("pausedUntil"); end != parsed.end())
        state.pausedUntil = WallTime(WallTime::duration(end->get<WallTime::rep>()));
    if (const auto last = parsed.find("lastInWindow"); last != parsed.end()) state.lastInWindow = last->get<bool>();
    return handOver;
} catch (const json::exception&) {
    return std::nullopt;
}

}  // namespace dravo
