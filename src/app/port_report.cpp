#include "app/port_report.h"

#include <algorithm>
#include <nlohmann/json.hpp>

namespace dravo {

namespace {

// Keys in the order in which they are written here.
using Json = nlohmann::ordered_json;

Json orNull(const std::string& text) { return text.empty() ? Json(nullptr) : Json(text); }

Json jsonOf(const Sentence& sentence) {
    if (sentence.empty()) return nullptr;
    return {{"key", orNull(std::string(sentence.text.key))}, {"sentence", localized(sentence)}};
}

Json jsonOf(const PortReport& report) {
    const Finding& finding = report.finding;
    return {{"port", nameOf(report)},
            {"subject", orNull(report.subject)},
            {"works", finding.works()},
            {"adapter", orNull(finding.adapter)},
            {"problem", jsonOf(finding.problem)},
            {"remedy", jsonOf(finding.remedy)},
            {"command", orNull(finding.command)}};
}

}  // namespace

std::string_view nameOf(const PortReport& report) {
    const std::string_view key = report.port.key;
    return key.substr(key.find('.') + 1);
}

Sentence titleOf(const PortReport& report) {
    return report.subject.empty() ? Sentence(report.port) : Sentence(report.subject);
}

bool allWork(std::span<const PortReport> reports) {
    return std::ranges::all_of(reports, [](const PortReport& report) { return report.finding.works(); });
}

std::string reportsJson(std::span<const PortReport> reports) {
    Json ports = Json::array();
    for (const auto& report : reports) ports.push_back(jsonOf(report));
    const Json json = {{"works", allWork(reports)}, {"ports", ports}};
    return json.dump(-1, ' ', false, Json::error_handler_t::replace);
}

}  // namespace dravo
