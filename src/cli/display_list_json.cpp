#include "cli/display_list_json.h"

#include <nlohmann/json.hpp>

namespace dravo::cli {

namespace {

/// Numbers are 32-bit floats, as in the tables, so that their text is the shortest for such a float.
using Json =
    nlohmann::basic_json<nlohmann::ordered_map, std::vector, std::string, bool, std::int64_t, std::uint64_t, float>;

Json toJson(const DisplayRow& row) {
    const DisplayDescription& display = row.description;
    Json white;
    if (row.white) {
        white = {static_cast<float>(row.white->red), static_cast<float>(row.white->green),
                 static_cast<float>(row.white->blue)};
    }
    return {{"id", static_cast<std::uint32_t>(display.id)},
            {"name", display.name},
            {"tableSize", display.tableSize},
            {"state", stateName(row)},
            {"problem", display.problem.empty() ? Json() : Json(display.problem)},
            {"white", white}};
}

}  // namespace

std::string displayListJson(const DisplayList& list) {
    Json displays = Json::array();
    for (const DisplayRow& row : list.rows) displays.push_back(toJson(row));
    const Json result = {{"backend", list.backend}, {"displays", displays}};
    // A monitor may call itself anything; what is not UTF-8 must not throw here.
    return result.dump(-1, ' ', false, Json::error_handler_t::replace);
}

}  // namespace dravo::cli
