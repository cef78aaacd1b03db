#include "display/table_json.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstdint>
#include <nlohmann/json.hpp>
#include <optional>
#include <utility>

#include "base/parse_json.h"
#include "base/shortest_text.h"

namespace dravo {

namespace {

// Over float, the reader itself refuses a number that no 32-bit float can hold.
using Json = nlohmann::basic_json<std::map, std::vector, std::string, bool, std::int64_t, std::uint64_t, float>;

constexpr std::array<std::pair<const char*, std::vector<float> GammaTable::*>, 3> kChannels{
    {{"red", &GammaTable::red}, {"green", &GammaTable::green}, {"blue", &GammaTable::blue}}};

constexpr std::string_view kGrayscale = "grayscale";
constexpr std::string_view kNightLight = "nightLightPaused";
constexpr std::string_view kProfiles = "profiles";
constexpr std::array<std::pair<const char*, std::string SavedProfile::*>, 2> kProfileTexts{
    {{"path", &SavedProfile::path}, {"source", &SavedProfile::source}}};

// Written so that NaN fails the comparison and becomes 0.
float level(float value) { return value > 0 ? std::min(value, 1.0F) : 0.0F; }

void appendTable(std::string& text, const GammaTable& table) {
    char opening = '{';
    for (const auto& [name, channel] : kChannels) {
        text += opening;
        text += '"';
        text += name;
        text += "\":";
        char separator = '[';
        for (const float value : table.*channel) {
            text += separator;
            text += shortestText(level(value));
            separator = ',';
        }
        if (separator == '[') text += '[';
        text += ']';
        opening = ',';
    }
    text += '}';
}

std::optional<DisplayId> displayIdFor(std::string_view key) {
    if (key.starts_with('+')) key.remove_prefix(1);
    std::uint32_t number = 0;
    const auto [end, fault] = std::from_chars(key.data(), key.data() + key.size(), number);
    if (fault != std::errc{} || end != key.data() + key.size()) return std::nullopt;
    return DisplayId{number};
}

/// Names the entry only by a number, never by its key: a damaged file's keys may hold anything.
Error damaged(std::optional<DisplayId> display, const std::string& what) {
    const auto whose = display ? "the table of display " + std::to_string(static_cast<std::uint32_t>(*display))
                               : std::string("an entry that is no display's");
    return {ErrorCode::InvalidInput, whose + " " + what};
}

Result<GammaTable> decodeEntry(std::optional<DisplayId> display, const Json& entry) {
    if (!entry.is_object()) return damaged(display, "is not an object");
    GammaTable table;
    std::size_t shortest = SIZE_MAX;
    for (const auto& [name, channel] : kChannels) {
        const auto found = entry.find(name);
        if (found == entry.end() || !found->is_array())
            return damaged(display, "has no array \"" + std::string(name) + "\"");
        auto& levels = table.*channel;
        levels.reserve(found->size());
        for (const auto& value : *found) {
            if (!value.is_number())
                return damaged(display, "has something else than a number in \"" + std::string(name) + "\"");
            levels.push_back(level(value.get<float>()));
        }
        shortest = std::min(shortest, levels.size());
    }
    for (const auto channel : GammaTable::channels()) (table.*channel).resize(shortest);
    return table;
}

std::string quoted(const std::string& text) {
    // What is not UTF-8 is no path that a compositor told us.
    return Json(text).dump(-1, ' ', false, Json::error_handler_t::replace);
}

void appendProfiles(std::string& text, const std::map<DisplayId, SavedProfile>& profiles) {
    char opening = '{';
    for (const auto& [display, profile] : profiles) {
        text += opening;
        text += '"' + std::to_string(static_cast<std::uint32_t>(display)) + "\":";
        char inner = '{';
        for (const auto& [name, member] : kProfileTexts) {
            text += inner;
            text += '"' + std::string(name) + "\":" + quoted(profile.*member);
            inner = ',';
        }
        text += '}';
        opening = ',';
    }
    text += '}';
}

Result<std::map<DisplayId, SavedProfile>> decodeProfiles(const Json& entries) {
    std::map<DisplayId, SavedProfile> profiles;
    if (!entries.is_object()) return Error{ErrorCode::InvalidInput, "the profiles are not an object"};
    for (const auto& [key, entry] : entries.items()) {
        SavedProfile profile;
        for (const auto& [name, member] : kProfileTexts) {
            const auto found = entry.find(name);
            if (found == entry.end() || !found->is_string())
                return Error{ErrorCode::InvalidInput, "a profile has no text \"" + std::string(name) + "\""};
            profile.*member = found->get<std::string>();
        }
        if (const auto display = displayIdFor(key)) profiles.insert_or_assign(*display, std::move(profile));
    }
    return profiles;
}

}  // namespace

std::string encodeTable(const GammaTable& table) {
    std::string text;
    appendTable(text, table);
    return text;
}

std::string encodeTables(const SavedTables& tables) {
    std::string text;
    const auto addKey = [&text](std::string_view key) {
        text += text.empty() ? "{\"" : ",\"";
        text.append(key) += "\":";
    };
    for (const auto& [display, table] : tables.own) {
        addKey(std::to_string(static_cast<std::uint32_t>(display)));
        appendTable(text, table);
    }
    if (tables.grayIsOurs) {
        addKey(kGrayscale);
        text += *tables.grayIsOurs ? "true" : "false";
    }
    if (tables.nightLightIsOurs) {
        addKey(kNightLight);
        text += "true";
    }
    if (!tables.profiles.empty()) {
        addKey(kProfiles);
        appendProfiles(text, tables.profiles);
    }
    return text.empty() ? "{}" : text + "}";
}

Result<SavedTables> decodeTables(std::string_view text) {
    auto parsed = parseJson<Json>(text);
    if (!parsed) return parsed.error();
    if (!parsed->is_object()) return Error{ErrorCode::InvalidInput, "not an object of tables by display"};
    SavedTables tables;
    for (const auto& [key, entry] : parsed->items()) {
        if (key == kGrayscale && entry.is_boolean()) {
            tables.grayIsOurs = entry.get<bool>();
            continue;
        }
        if (key == kNightLight && entry.is_boolean()) {
            tables.nightLightIsOurs = entry.get<bool>();
            continue;
        }
        if (key == kProfiles) {
            auto profiles = decodeProfiles(entry);
            if (!profiles) return profiles.error();
            tables.profiles = std::move(*profiles);
            continue;
        }
        const auto display = displayIdFor(key);
        // An entry under another key is nobody's table, but a broken one still means a damaged file.
        auto table = decodeEntry(display, entry);
        if (!table) return table.error();
        if (display && table->size() >= 2) tables.own.insert_or_assign(*display, std::move(*table));
    }
    return tables;
}

}  // namespace dravo
