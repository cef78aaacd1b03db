#include "filter/preset_json.h"

#include <cmath>
#include <cstddef>
#include <nlohmann/json.hpp>
#include <type_traits>
#include <utility>

#include "base/localized.h"
#include "base/parse_json.h"
#include "base/shortest_text.h"

namespace dravo {

namespace {

using nlohmann::json;

Error refused(const Sentence& where, const Sentence& what) {
    return {ErrorCode::InvalidInput, where.empty() ? what : withDetail(where, what)};
}

/// What a field of this type has to be.
template <typename Value>
constexpr TextKey kDemand = textKey("\"%@\" must be a text");
template <>
constexpr TextKey kDemand<double> = textKey("\"%@\" must be a number");
template <>
constexpr TextKey kDemand<bool> = textKey("\"%@\" must be true or false");

template <typename Value>
bool hasType(const json& value) {
    if constexpr (std::is_same_v<Value, bool>) return value.is_boolean();
    if constexpr (std::is_same_v<Value, double>) return value.is_number();
    return value.is_string();
}

Result<FilterPreset> decodeObject(const json& object, const Sentence& where) {
    if (!object.is_object()) return refused(where, textKey("not an object"));
    FilterPreset preset;
    for (const auto& field : kPresetFields) {
        const auto found = object.find(field.key);
        if (found == object.end()) return refused(where, Sentence(textKey("\"%@\" is missing"), {field.key}));
        const auto demand = std::visit(
            [&](auto member) -> std::optional<TextKey> {
                using Value = std::decay_t<decltype(preset.*member)>;
                if (!hasType<Value>(*found)) return kDemand<Value>;
                preset.*member = found->get<Value>();
                return std::nullopt;
            },
            field.member);
        if (demand) return refused(where, Sentence(*demand, {field.key}));
    }
    return preset;
}

Result<std::string> encodeValue(double value) {
    if (!std::isfinite(value)) return Error{ErrorCode::InvalidInput, textKey("\"%@\" is not a finite number")};
    return shortestText(value);
}

Result<std::string> encodeValue(bool value) { return std::string(value ? "true" : "false"); }

Result<std::string> encodeValue(const std::string& value) {
    try {
        return json(value).dump();
    } catch (const json::type_error&) {
        return Error{ErrorCode::InvalidInput, textKey("\"%@\" is not UTF-8")};
    }
}

Result<std::string> encodeObject(const FilterPreset& preset, const Sentence& where) {
    std::string text;
    for (const auto& field : kPresetFields) {
        auto value = std::visit([&](auto member) { return encodeValue(preset.*member); }, field.member);
        if (!value) return refused(where, Sentence(value.error().message.text, {field.key}));
        text += (text.empty() ? "{\"" : ",\"") + std::string(field.key) + "\":" + *value;
    }
    return text + "}";
}

Sentence placeName(std::size_t index) { return Sentence(textKey("preset %@"), {std::to_string(index + 1)}); }

}  // namespace

Result<FilterPreset> decodePreset(std::string_view text) {
    const auto parsed = parseJson<json>(text);
    if (!parsed) return parsed.error();
    return decodeObject(*parsed, "");
}

Result<std::vector<FilterPreset>> decodePresets(std::string_view text) {
    const auto parsed = parseJson<json>(text);
    if (!parsed) return parsed.error();
    if (!parsed->is_array()) return refused("", textKey("not an array of presets"));
    std::vector<FilterPreset> presets;
    for (const auto& element : *parsed) {
        auto preset = decodeObject(element, placeName(presets.size()));
        if (!preset) return preset.error();
        presets.push_back(std::move(*preset));
    }
    return presets;
}

Result<std::string> encodePreset(const FilterPreset& preset) { return encodeObject(preset, ""); }

Result<std::string> encodePresets(std::span<const FilterPreset> presets) {
    std::string text = "[";
    for (std::size_t i = 0; i < presets.size(); ++i) {
        auto object = encodeObject(presets[i], placeName(i));
        if (!object) return object.error();
        if (i > 0) text += ',';
        text += *object;
    }
    return text + "]";
}

}  // namespace dravo
