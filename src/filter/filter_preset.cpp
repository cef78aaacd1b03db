#include "filter/filter_preset.h"

#include <algorithm>
#include <cstdint>
#include <random>

#include "base/localized.h"
#include "base/shortest_text.h"
#include "filter/migraine_precision.h"

namespace dravo {

namespace {

std::vector<FilterPreset> makeBuiltIns() {
    const auto preset = [](const char* id, const TextKey& name, const Rgb& factors, const FilterPreset& rest) {
        FilterPreset made = rest;
        made.id = id;
        made.name = name.english;
        made.redFactor = factors.red;
        made.greenFactor = factors.green;
        made.blueFactor = factors.blue;
        made.isBuiltIn = true;
        return made;
    };
    return {
        preset("migrainePrecision", textKey("Migraine Precision"), migrainePrecisionFactors(), {.intensity = 0.8}),
        preset("fl41", TextKey{{}, "FL-41"}, {0.85, 0.3, 0.2}, {.intensity = 0.85}),
        preset("greenBand", textKey("Green Band"), {0.02, 0.75, 0.01},
               {.intensity = 0.95, .dimming = 0.08, .contrast = -0.05, .greenIntensity = 0.85}),
        preset("notch480", textKey("Notch 480"), {0.9, 0.8, 0.05}, {.intensity = 0.75}),
        preset("lowBlue", textKey("Low Blue"), {0.95, 0.95, 0.3}, {.intensity = 0.6}),
        preset("sunset", textKey("Sunset"), {0.7, 0.4, 0.05},
               {.intensity = 1.0, .dimming = 0.15, .blackPoint = 0.05, .gamma = 1.1, .colorTemperature = 3000}),
        preset("warmRose", textKey("Warm Rose"), {0.9, 0.35, 0.25}, {.intensity = 0.8}),
        preset("evening", textKey("Evening"), {0.95, 0.8, 0.2},
               {.intensity = 0.7,
                .dimming = 0.1,
                .blackPoint = 0.02,
                .gamma = 1.1,
                .contrast = -0.1,
                .colorTemperature = 3500}),
        preset("reading", textKey("Reading"), {0.95, 0.9, 0.6},
               {.intensity = 0.5, .gamma = 0.95, .contrast = 0.1, .colorTemperature = 5500}),
        preset("gaming", textKey("Gaming"), {1.0, 0.95, 0.5},
               {.intensity = 0.45, .contrast = 0.05, .colorTemperature = 6000}),
        preset("eyeComfort", textKey("Eye Comfort"), {1.0, 0.98, 0.65},
               {.intensity = 0.7, .contrast = 0.02, .colorTemperature = 5500}),
        preset("epaper", textKey("E-Paper"), {1.0, 1.0, 1.0},
               {.dimming = 0.1, .blackPoint = 0.03, .gamma = 0.95, .contrast = -0.1, .isGrayscale = true}),
    };
}

const FilterPreset& builtInAt(std::size_t index) { return FilterPreset::builtIn()[index]; }

// NaN fails the comparison and becomes 0.
double clamped(double factor) { return factor > 0 ? std::min(factor, 1.0) : 0; }

}  // namespace

const std::vector<FilterPreset>& FilterPreset::builtIn() {
    static const std::vector<FilterPreset> presets = makeBuiltIns();
    return presets;
}

const FilterPreset& FilterPreset::migrainePrecision() { return builtInAt(0); }
const FilterPreset& FilterPreset::fl41() { return builtInAt(1); }
const FilterPreset& FilterPreset::greenBand() { return builtInAt(2); }
const FilterPreset& FilterPreset::notch480() { return builtInAt(3); }
const FilterPreset& FilterPreset::lowBlue() { return builtInAt(4); }
const FilterPreset& FilterPreset::sunset() { return builtInAt(5); }
const FilterPreset& FilterPreset::warmRose() { return builtInAt(6); }
const FilterPreset& FilterPreset::evening() { return builtInAt(7); }
const FilterPreset& FilterPreset::reading() { return builtInAt(8); }
const FilterPreset& FilterPreset::gaming() { return builtInAt(9); }
const FilterPreset& FilterPreset::eyeComfort() { return builtInAt(10); }
const FilterPreset& FilterPreset::epaper() { return builtInAt(11); }

std::string FilterPreset::localizedName() const {
    if (!isBuiltIn || id == fl41().id) return name;
    const auto shipped = std::ranges::find(builtIn(), id, &FilterPreset::id);
    return shipped == builtIn().end() ? name : localized(textKey(shipped->name));
}

std::optional<Rgb> FilterPreset::swatchColor() const {
    if (isGrayscale) return std::nullopt;
    return Rgb{clamped(redFactor), clamped(greenFactor), clamped(blueFactor)};
}

std::string FilterPreset::swatchCacheKey() const {
    return id + "-" + shortestText(redFactor) + "-" + shortestText(greenFactor) + "-" + shortestText(blueFactor) + "-" +
           (isGrayscale ? "true" : "false");
}

const FilterPreset* findPreset(std::string_view id, const std::vector<FilterPreset>& own) {
    for (const auto* presets : {&FilterPreset::builtIn(), &own}) {
        const auto found = std::ranges::find(*presets, id, &FilterPreset::id);
        if (found != presets->end()) return &*found;
    }
    return nullptr;
}

std::string newPresetId() {
    std::random_device random;
    std::string text = "xxxxxxxx-xxxx-4xxx-Nxxx-xxxxxxxxxxxx";
    for (char& character : text) {
        const std::uint32_t bits = random();
        if (character == 'x') character = "0123456789ABCDEF"[bits % 16];
        if (character == 'N') character = "89AB"[bits % 4];
    }
    return text;
}

}  // namespace dravo

std::size_t std::hash<dravo::FilterPreset>::operator()(const dravo::FilterPreset& preset) const {
    std::size_t seed = 0;
    for (const auto& field : dravo::kPresetFields) {
        seed = std::visit(
            [&](auto member) {
                const auto& value = preset.*member;
                // std::hash gives equal numbers equal hashes, 0.0 and -0.0 among them.
                return seed * 31 + std::hash<std::decay_t<decltype(value)>>{}(value);
            },
            field.member);
    }
    return seed;
}
