// How long a table takes, beside the formula written out plainly with a power for every entry. The two are compared
// first: figures for tables that differ would mean nothing.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <iostream>
#include <map>
#include <string>

#include "display/gamma_table.h"

namespace dravo {
namespace {

constexpr double kIntensity = 0.85;
constexpr double kDimming = 0.12;
constexpr double kBlackPoint = 0.02;
constexpr double kContrast = -0.05;

std::vector<float> plainChannel(double scale, double tint, double gamma) {
    std::vector<float> entries;
    entries.reserve(256);
    for (int i = 0; i < 256; ++i) {
        double v = i / 255.0 * scale;
        v = v * tint;
        v = v * (1 - kDimming);
        v = (v - 0.5) * (kContrast + 1) + 0.5;
        v = v * (1 - kBlackPoint) + kBlackPoint;
        if (v <= 0) v = 0;
        if (v > 1) v = 1;
        const double y = std::pow(v, gamma);
        entries.push_back(static_cast<float>(y <= 0 ? 0 : std::min(y, 1.0)));
    }
    return entries;
}

GammaTable plainTable(const FilterPreset& preset) {
    const Rgb tint = temperatureTint(preset.colorTemperature);
    const auto channel = [&](double factor, double weight, double channelTint) {
        return plainChannel(1 - (1 - factor) * (weight * kIntensity), channelTint, preset.gamma);
    };
    return {channel(preset.redFactor, preset.redIntensity, tint.red),
            channel(preset.greenFactor, preset.greenIntensity, tint.green),
            channel(preset.blueFactor, preset.blueIntensity, tint.blue)};
}

GammaTable productTable(const FilterPreset& preset) {
    return computeTable(preset, kIntensity, kDimming, kBlackPoint, kContrast);
}

FilterPreset presetWithGamma(double gamma) {
    FilterPreset preset = FilterPreset::fl41();
    preset.colorTemperature = 5500;
    preset.gamma = gamma;
    return preset;
}

template <GammaTable (*Compute)(const FilterPreset&)>
void run(benchmark::State& state, double gamma) {
    // The exponent must be a value of the run, or the compiler drops the plain formula's powers of 1.
    benchmark::DoNotOptimize(gamma);
    const FilterPreset preset = presetWithGamma(gamma);
    for (auto _ : state) {
        auto table = Compute(preset);
        benchmark::DoNotOptimize(table);
    }
}

/// The library's own report, on standard error, which remembers the times.
class Report : public benchmark::ConsoleReporter {
public:
    Report() { SetOutputStream(&std::cerr); }

    void ReportRuns(const std::vector<Run>& runs) override {
        for (const auto& run : runs) times_[run.benchmark_name()] = run.GetAdjustedCPUTime();
        ConsoleReporter::ReportRuns(runs);
    }

    /// Of the run with this name, in its unit.
    [[nodiscard]] double timeOf(const std::string& name) const { return times_.at(name); }

private:
    std::map<std::string, double> times_;
};

constexpr const char* kPlain = "plain formula, gamma 1";
constexpr const char* kProduct = "computeTable, gamma 1";

}  // namespace
}  // namespace dravo

int main(int argc, char** argv) {
    using namespace dravo;
    for (const double gamma : {1.0, 1.1}) {
        if (productTable(presetWithGamma(gamma)) != plainTable(presetWithGamma(gamma))) {
            std::fprintf(stderr, "the tables differ at gamma %g\n", gamma);
            return 1;
        }
    }
    benchmark::RegisterBenchmark(kPlain, run<plainTable>, 1.0);
    benchmark::RegisterBenchmark(kProduct, run<productTable>, 1.0);
    benchmark::RegisterBenchmark("plain formula, gamma 1.1", run<plainTable>, 1.1);
    benchmark::RegisterBenchmark("computeTable, gamma 1.1", run<productTable>, 1.1);
    benchmark::Initialize(&argc, argv);
    Report report;
    benchmark::RunSpecifiedBenchmarks(&report);
    std::printf(
        "| `computeTable` with gamma 1, beside the plain formula with `pow` | 5 times as fast | %.1f times: %.1f "
        "beside "
        "%.1f µs | `compute_table_bench` |\n",
        report.timeOf(kPlain) / report.timeOf(kProduct), report.timeOf(kProduct) / 1000, report.timeOf(kPlain) / 1000);
    benchmark::Shutdown();
    return 0;
}
