#include "filter/migraine_precision.h"

#include <array>
#include <cmath>

#include "filter/spectral_curve.h"

namespace dravo {

namespace {

constexpr std::array<SpectralPoint, 41> kTransmission{{
    {380, 0.30}, {390, 0.28}, {400, 0.25}, {410, 0.22}, {420, 0.18}, {430, 0.12}, {440, 0.08}, {450, 0.06}, {460, 0.04},
    {470, 0.03}, {480, 0.02}, {490, 0.04}, {500, 0.10}, {510, 0.25}, {520, 0.50}, {530, 0.70}, {540, 0.75}, {550, 0.72},
    {560, 0.60}, {570, 0.45}, {580, 0.30}, {590, 0.18}, {600, 0.15}, {610, 0.20}, {620, 0.30}, {630, 0.42}, {640, 0.52},
    {650, 0.58}, {660, 0.60}, {670, 0.58}, {680, 0.55}, {690, 0.50}, {700, 0.45}, {710, 0.40}, {720, 0.35}, {730, 0.30},
    {740, 0.25}, {750, 0.22}, {760, 0.20}, {770, 0.18}, {780, 0.15},
}};

}  // namespace

const std::map<std::string_view, DisplayPrimary>& displayPrimaries() {
    static const std::map<std::string_view, DisplayPrimary> primaries{
        {"red", {630, 30}}, {"green", {530, 35}}, {"blue", {455, 25}}};
    return primaries;
}

double migrainePrecisionTransmission(double wavelength) { return curveValue(kTransmission, wavelength); }

double primaryTransmission(double peak, double sigma) {
    double passed = 0;
    double emitted = 0;
    for (int k = 0; kSpectrumFrom + k * kSpectrumStep <= kSpectrumThrough; ++k) {
        const double wavelength = kSpectrumFrom + k * kSpectrumStep;
        const double z = (wavelength - peak) / sigma;
        const double weight = std::exp(z * (z * -0.5));
        passed += migrainePrecisionTransmission(wavelength) * weight;
        emitted += weight;
    }
    return passed / emitted;
}

Rgb migrainePrecisionFactors() {
    const auto factor = [](std::string_view name) {
        const DisplayPrimary& primary = displayPrimaries().at(name);
        return primaryTransmission(primary.peak, primary.sigma);
    };
    return {factor("red"), factor("green"), factor("blue")};
}

}  // namespace dravo
