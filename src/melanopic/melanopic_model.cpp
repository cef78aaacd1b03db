#include "melanopic/melanopic_model.h"

#include <array>
#include <cmath>

#include "filter/spectral_curve.h"

namespace dravo {

namespace {

constexpr std::array<SpectralPoint, 81> kSensitivity{{
    {380, 0.0003}, {385, 0.0007}, {390, 0.0015}, {395, 0.003},  {400, 0.0059}, {405, 0.011},  {410, 0.0197},
    {415, 0.034},  {420, 0.0562}, {425, 0.089},  {430, 0.135},  {435, 0.196},  {440, 0.273},  {445, 0.364},
    {450, 0.466},  {455, 0.573},  {460, 0.676},  {465, 0.768},  {470, 0.844},  {475, 0.901},  {480, 0.939},
    {485, 0.959},  {490, 0.964},  {495, 0.955},  {500, 0.934},  {505, 0.903},  {510, 0.862},  {515, 0.813},
    {520, 0.757},  {525, 0.696},  {530, 0.631},  {535, 0.565},  {540, 0.499},  {545, 0.435},  {550, 0.375},
    {555, 0.319},  {560, 0.269},  {565, 0.224},  {570, 0.185},  {575, 0.151},  {580, 0.123},  {585, 0.0988},
    {590, 0.0789}, {595, 0.0627}, {600, 0.0495}, {605, 0.0389}, {610, 0.0304}, {615, 0.0237}, {620, 0.0184},
    {625, 0.0142}, {630, 0.011},  {635, 0.0084}, {640, 0.0065}, {645, 0.005},  {650, 0.0038}, {655, 0.0029},
    {660, 0.0022}, {665, 0.0017}, {670, 0.0013}, {675, 0.001},  {680, 0.0008}, {685, 0.0006}, {690, 0.0004},
    {695, 0.0003}, {700, 0.0003}, {705, 0.0002}, {710, 0.0002}, {715, 0.0001}, {720, 0.0001}, {725, 0.0001},
    {730, 0.0001}, {735, 0.0},    {740, 0.0},    {745, 0.0},    {750, 0.0},    {755, 0.0},    {760, 0.0},
    {765, 0.0},    {770, 0.0},    {775, 0.0},    {780, 0.0},
}};

/// The primaries of an ordinary display. Narrower than those that a preset's factors are derived from.
constexpr SpectralPeak kRedEmission{630.0, 1.0, 20.0};
constexpr SpectralPeak kGreenEmission{530.0, 1.0, 30.0};
constexpr SpectralPeak kBlueEmission{455.0, 1.0, 20.0};

double power(std::span<const SpectralPeak> spectrum, double wavelength) {
    double sum = 0;
    for (const auto& peak : spectrum) {
        const double z = (wavelength - peak.center) / peak.sigma;
        sum += peak.amplitude * std::exp(-0.5 * (z * z));
    }
    return sum;
}

/// The melanopic weights of the three primaries.
const Rgb& primaryWeights() {
    static const Rgb weights = [] {
        const auto weight = [](const SpectralPeak& emission) {
            return melanopicEfficiency({&emission, 1}, kSpectrumFrom, kSpectrumThrough, kSpectrumStep);
        };
        return Rgb{weight(kRedEmission), weight(kGreenEmission), weight(kBlueEmission)};
    }();
    return weights;
}

}  // namespace

double melanopicSensitivity(double wavelength) { return curveValue(kSensitivity, wavelength); }

double melanopicEfficiency(std::span<const SpectralPeak> spectrum, double from, double through, double by) {
    double answered = 0;
    double emitted = 0;
    for (int k = 0; from + k * by <= through; ++k) {
        const double wavelength = from + k * by;
        const double emission = power(spectrum, wavelength);
        answered += melanopicSensitivity(wavelength) * emission;
        emitted += emission;
    }
    return emitted > 0 ? answered / emitted : 0;
}

double melanopicReduction(const FilterPreset& preset, const Adjustments& adjustments) {
    const Rgb tint = temperatureTint(preset.colorTemperature);
    const auto white = [&](double factor, double weight, double channelTint) {
        return channelOutput(1.0, channelScale(factor, weight, adjustments.intensity), channelTint, adjustments.dimming,
                             adjustments.contrast, adjustments.blackPoint, preset.gamma);
    };
    return melanopicReduction(Rgb{white(preset.redFactor, preset.redIntensity, tint.red),
                                  white(preset.greenFactor, preset.greenIntensity, tint.green),
                                  white(preset.blueFactor, preset.blueIntensity, tint.blue)});
}

double melanopicReduction(const Rgb& white) {
    const Rgb& weight = primaryWeights();
    return (1 - (white.red * weight.red + white.green * weight.green + white.blue * weight.blue) /
                    (weight.red + weight.green + weight.blue)) *
           100;
}

}  // namespace dravo
