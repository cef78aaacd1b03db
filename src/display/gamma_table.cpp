#include "display/gamma_table.h"

#include <algorithm>
#include <cmath>

namespace dravo {

namespace {

constexpr std::size_t kEntries = 256;

/// The input levels i / 255, once: a division costs more than all that is done with its result.
constexpr auto kInputLevels = [] {
    std::array<double, kEntries> levels{};
    for (std::size_t i = 0; i < kEntries; ++i) levels[i] = static_cast<double>(i) / 255.0;
    return levels;
}();

// Written so that NaN fails the comparison and becomes 0.
constexpr double clamp01(double value) {
    const double positive = value > 0 ? value : 0;
    return positive < 1 ? positive : 1;
}

/// One channel's transfer with everything worked out that does not depend on the input level.
struct ChannelCurve {
    double scale;
    double tint;
    double brightness;
    double slope;
    double headroom;
    double blackPoint;

    ChannelCurve(double scaleFactor, double tintFactor, double dimming, double contrast, double black)
        : scale(scaleFactor),
          tint(tintFactor),
          brightness(1 - dimming),
          slope(contrast + 1),
          headroom(1 - black),
          blackPoint(black) {}

    /// The output before the exponent, 0..1.
    [[nodiscard]] double linear(double x) const {
        const double dimmed = x * scale * tint * brightness;
        const double contrasted = (dimmed - 0.5) * slope + 0.5;
        return clamp01(contrasted * headroom + blackPoint);
    }

    [[nodiscard]] double output(double x, double gamma) const {
        // The exponent 1 changes nothing, to the bit, and is what most presets have.
        return gamma == 1 ? linear(x) : clamp01(std::pow(linear(x), gamma));
    }
};

std::vector<float> channelEntries(const ChannelCurve& curve, double gamma) {
    std::vector<float> entries(kEntries);
    if (gamma == 1) {
        // A loop of its own, without a branch or a call in it, so that the compiler does several entries at a time.
        for (std::size_t i = 0; i < kEntries; ++i) entries[i] = static_cast<float>(curve.linear(kInputLevels[i]));
    } else {
        for (std::size_t i = 0; i < kEntries; ++i)
            entries[i] = static_cast<float>(curve.output(kInputLevels[i], gamma));
    }
    return entries;
}

std::vector<float> resampled(const std::vector<float>& entries, std::size_t size) {
    const std::size_t segments = entries.size() - 1;
    std::vector<float> result(size);
    for (std::size_t i = 0; i < size; ++i) {
        // In whole numbers, so that entries which fall on each other are copied and both ends are exact.
        const std::size_t position = i * segments;
        const std::size_t before = position / (size - 1);
        const std::size_t remainder = position % (size - 1);
        const double low = entries[before];
        const double high = remainder == 0 ? low : entries[before + 1];
        const double part = static_cast<double>(remainder) / static_cast<double>(size - 1);
        result[i] = static_cast<float>(low + (high - low) * part);
    }
    return result;
}

}  // namespace

GammaTable GammaTable::identity() {
    std::vector<float> ramp(kEntries);
    for (std::size_t i = 0; i < kEntries; ++i) ramp[i] = static_cast<float>(i) / 255.0F;
    return {ramp, ramp, ramp};
}

Rgb kelvinToRGB(double kelvin) {
    const double t = kelvin / 100;
    Rgb colour;
    if (t <= 66) {
        colour.red = 1;
        colour.green = clamp01(0.3900815788 * std::log(t) - 0.6318414438);
    } else {
        const double u = t - 60;
        colour.red = clamp01(1.292936186 * std::pow(u, -0.1332047592));
        colour.green = clamp01(288.1221695283 / 255 * std::pow(u, -0.0755148492));
    }
    if (t >= 66) {
        colour.blue = 1;
    } else if (t > 19) {
        colour.blue = clamp01(0.5432067891 * std::log(t - 10) - 1.196254089);
    }
    return colour;
}

Rgb temperatureTint(double kelvin) {
    // The green and blue of 6500 K.
    constexpr double kNeutralGreen = 0.9965101329635118;
    constexpr double kNeutralBlue = 0.980556503404006;
    const Rgb colour = kelvinToRGB(kelvin);
    return {std::min(colour.red, 1.0), std::min(colour.green / kNeutralGreen, 1.0),
            std::min(colour.blue / kNeutralBlue, 1.0)};
}

double channelScale(double factor, double channelWeight, double intensity) {
    return 1 - (1 - factor) * (channelWeight * intensity);
}

double channelOutput(double x, double scale, double tint, double dimming, double contrast, double blackPoint,
                     double gamma) {
    return ChannelCurve(scale, tint, dimming, contrast, blackPoint).output(x, gamma);
}

GammaTable computeTable(const FilterPreset& preset, double intensity, double dimming, double blackPoint,
                        double contrast) {
    const Rgb tint = temperatureTint(preset.colorTemperature);
    const auto entries = [&](double factor, double weight, double channelTint) {
        const ChannelCurve curve(channelScale(factor, weight, intensity), channelTint, dimming, contrast, blackPoint);
        return channelEntries(curve, preset.gamma);
    };
    return {entries(preset.redFactor, preset.redIntensity, tint.red),
            entries(preset.greenFactor, preset.greenIntensity, tint.green),
            entries(preset.blueFactor, preset.blueIntensity, tint.blue)};
}

GammaTable interpolate(const GammaTable& from, const GammaTable& to, float t) {
    GammaTable result;
    for (const auto channel : GammaTable::channels()) {
        const auto& start = from.*channel;
        const auto& end = to.*channel;
        auto& blend = result.*channel;
        blend.resize(std::min(start.size(), end.size()));
        for (std::size_t k = 0; k < blend.size(); ++k) blend[k] = start[k] + (end[k] - start[k]) * t;
    }
    return result;
}

GammaTable resample(const GammaTable& table, std::size_t size) {
    const std::size_t shortest = std::min({table.red.size(), table.green.size(), table.blue.size()});
    if (shortest < 2 || size < 2) return {};
    GammaTable result;
    for (const auto channel : GammaTable::channels()) {
        const auto& entries = table.*channel;
        result.*channel = entries.size() == size ? entries : resampled(entries, size);
    }
    return result;
}

}  // namespace dravo
