#pragma once

#include <array>
#include <cstddef>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "filter/rgb.h"

namespace dravo {

/// The named recipe from which the whole-screen filter is computed. A plain value; copies are independent.
///
/// Equality is member by member (0.0 equals -0.0). In lists, two presets with the same `id` are the same entry.
/// Factors outside their nominal range are legal here.
///
/// Thread: any for a value; the built-in ones from the main thread.
struct FilterPreset {
    std::string id{};                ///< Stable key: a word for built-in presets, a UUID for a person's own.
    std::string name{};              ///< As entered or shipped; what is shown is `localizedName`.
    double redFactor = 1;            ///< What the tint at full strength leaves of red, nominally 0..1.
    double greenFactor = 1;          ///< The same for green.
    double blueFactor = 1;           ///< The same for blue.
    double intensity = 0;            ///< Default strength of the colour filter, 0..1.
    double dimming = 0;              ///< Default extra darkening, 0..1.
    double blackPoint = 0;           ///< Default lift of black, 0..1.
    double gamma = 1;                ///< Exponent of the transfer curve; 1 is neutral.
    double contrast = 0;             ///< Default contrast: 0 neutral, negative softer, positive harder.
    double colorTemperature = 6500;  ///< White point in kelvin; 6500 is neutral.
    double redIntensity = 1;         ///< Multiplies the strength for red; 1 is neutral.
    double greenIntensity = 1;       ///< The same for green.
    double blueIntensity = 1;        ///< The same for blue.
    bool isBuiltIn = false;
    bool isGrayscale = false;  ///< The desktop's grayscale mode is on while this preset is applied.

    bool operator==(const FilterPreset&) const = default;

    /// The twelve shipped presets in their order, made at the first use of any of them.
    [[nodiscard]] static const std::vector<FilterPreset>& builtIn();

    [[nodiscard]] static const FilterPreset& migrainePrecision();
    [[nodiscard]] static const FilterPreset& fl41();
    [[nodiscard]] static const FilterPreset& greenBand();
    [[nodiscard]] static const FilterPreset& notch480();
    [[nodiscard]] static const FilterPreset& lowBlue();
    [[nodiscard]] static const FilterPreset& sunset();
    [[nodiscard]] static const FilterPreset& warmRose();
    [[nodiscard]] static const FilterPreset& evening();
    [[nodiscard]] static const FilterPreset& reading();
    [[nodiscard]] static const FilterPreset& gaming();
    [[nodiscard]] static const FilterPreset& eyeComfort();
    [[nodiscard]] static const FilterPreset& epaper();

    /// What the program starts with and falls back to.
    [[nodiscard]] static const FilterPreset& defaultPreset() { return migrainePrecision(); }

    /// The name to show: translated for built-in presets (but for FL-41, a name in every language), else `name`.
    [[nodiscard]] std::string localizedName() const;

    /// The colour of the dot shown beside the name; nothing stands for the system's grey.
    [[nodiscard]] std::optional<Rgb> swatchColor() const;

    /// Equal for presets whose dots are equal: "id-red-green-blue-false", the factors unclamped.
    [[nodiscard]] std::string swatchCacheKey() const;
};

/// One field of a preset under its name in files.
struct PresetField {
    std::string_view key;
    std::variant<std::string FilterPreset::*, double FilterPreset::*, bool FilterPreset::*> member;
};

/// All fields in their order, which is the order in files too: for what treats them alike.
inline constexpr std::array<PresetField, 16> kPresetFields{{
    {"id", &FilterPreset::id},
    {"name", &FilterPreset::name},
    {"redFactor", &FilterPreset::redFactor},
    {"greenFactor", &FilterPreset::greenFactor},
    {"blueFactor", &FilterPreset::blueFactor},
    {"intensity", &FilterPreset::intensity},
    {"dimming", &FilterPreset::dimming},
    {"blackPoint", &FilterPreset::blackPoint},
    {"gamma", &FilterPreset::gamma},
    {"contrast", &FilterPreset::contrast},
    {"colorTemperature", &FilterPreset::colorTemperature},
    {"redIntensity", &FilterPreset::redIntensity},
    {"greenIntensity", &FilterPreset::greenIntensity},
    {"blueIntensity", &FilterPreset::blueIntensity},
    {"isBuiltIn", &FilterPreset::isBuiltIn},
    {"isGrayscale", &FilterPreset::isGrayscale},
}};

/// The first preset with this id among the built-in ones and then `own`; null if there is none.
/// Lifetime: that of `own`.
[[nodiscard]] const FilterPreset* findPreset(std::string_view id, const std::vector<FilterPreset>& own);

/// A new random id for a person's preset: a UUID in upper-case hexadecimal with hyphens, 36 characters.
[[nodiscard]] std::string newPresetId();

}  // namespace dravo

template <>
struct std::hash<dravo::FilterPreset> {
    [[nodiscard]] std::size_t operator()(const dravo::FilterPreset& preset) const;
};
