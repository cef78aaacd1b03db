#pragma once

#include <algorithm>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "desktop/random_moments.h"
#include "display/gamma_table.h"
#include "platform/posix/instance_lock.h"
#include "support/desktop_test.h"
#include "support/process_under_test.h"

namespace dravo::testing {

using namespace std::chrono_literals;

/// What a display shows under a preset with these adjustments.
inline RampLevels shown(const FilterPreset& preset, double intensity, double dimming = 0, double blackPoint = 0,
                        double contrast = 0) {
    return toLevels(computeTable(preset, intensity, dimming, blackPoint, contrast), 256);
}
/// With its own.
inline RampLevels shown(const FilterPreset& preset) {
    return shown(preset, preset.intensity, preset.dimming, preset.blackPoint, preset.contrast);
}
/// Under the preset of these tests.
inline RampLevels filtered(double intensity) { return shown(FilterPreset::fl41(), intensity); }

inline constexpr double kWeak = 0.4;
inline constexpr double kStrong = 0.9;

/// What a start says that had to undo what an earlier one left.
inline constexpr const char* kCrashNotice = "Restored gamma from previous crash\n";

/// The filtering program in a home of its own, on a real server whose displays were calibrated before: every output
/// has a table of its own, also the one that is off.
class FilterRunTest : public DesktopTest {
protected:
    using Run = std::unique_ptr<ProcessUnderTest>;

    FilterRunTest() {
        for (unsigned i = 0; i < kOutputs.size(); ++i) displays().setRamp(kOutputs[i], calibrationRamp(i + 1));
        own_ = tables();
        prefer(kStrong);
    }

    [[nodiscard]] Run start(std::vector<std::string> words = {"--headless"},
                            const std::filesystem::path& program = programUnderTest()) {
        return std::make_unique<ProcessUnderTest>(home_, std::move(words), session_, std::filesystem::path(), program);
    }
    /// The same, once it is the run that is in charge, and every display is filtered.
    [[nodiscard]] Run startAndSettle() {
        Run run = start();
        EXPECT_TRUE(soon([&] { return isInCharge(*run) && allShow(filtered(intensity_)); })) << run->standardError();
        return run;
    }
    [[nodiscard]] bool isInCharge(const ProcessUnderTest& run) const {
        const auto holder = posix::InstanceLock::run({home_.path() / ".dravo", home_.runtimeFolder() / "dravo"});
        return holder && holder->number() == run.pid();
    }
    /// Runs a command to its end; what it printed on both outputs.
    std::string command(std::vector<std::string> words, int code = 0) {
        const Run run = start(std::move(words));
        EXPECT_EQ(run->waitForExit(), ExitStatus::exited(code)) << run->standardError();
        return run->standardOutput() + run->standardError();
    }

    /// Writes settings with the filter on at this intensity; a run that is there fades to it.
    void prefer(double intensity, bool isOn = true, const std::string& more = {}) {
        intensity_ = intensity;
        home_.writePreferences(std::string("filterEnabled = ") + (isOn ? "true" : "false") +
                               "\nlastPresetID = \"fl41\"\nlastIntensity = " + (intensity == kWeak ? "0.4" : "0.9") +
                               "\n" + more);
    }
    /// The other of the two intensities.
    void preferOther() { prefer(intensity_ == kWeak ? kStrong : kWeak); }
    [[nodiscard]] double intensity() const { return intensity_; }

    /// Ends the run as the panel's Quit does: every display has its own table back, and nothing has to be saved.
    void quit(ProcessUnderTest& run) {
        EXPECT_EQ(run.endBy(SIGUSR2), ExitStatus::exited(0)) << run.standardError();
        EXPECT_EQ(tables(), ownTables());
        EXPECT_FALSE(std::filesystem::exists(savedTables()));
    }

    /// The tables of all outputs of these tests, on or off.
    [[nodiscard]] Ramps tables() { return displays().ramps(kOutputs); }
    [[nodiscard]] const Ramps& ownTables() const { return own_; }
    /// Whether every display that is on shows `ramp`.
    [[nodiscard]] bool allShow(const RampLevels& ramp) {
        return std::ranges::all_of(displays().ramps(), [&](const auto& display) { return display.second == ramp; });
    }

    bool soon(const std::function<bool()>& condition) { return waitUntil(condition); }
    bool soonShow(const RampLevels& ramp) {
        return soon([&] { return allShow(ramp); });
    }
    bool soonFiltered() { return soonShow(filtered(intensity_)); }
    bool soonShowTheirOwn() {
        return soon([&] { return tables() == ownTables(); });
    }

    /// What programs that are started from now on have in their environment.
    [[nodiscard]] Environment& session() { return session_; }
    [[nodiscard]] TestHome& home() { return home_; }
    [[nodiscard]] std::filesystem::path savedTables() const { return home_.path() / ".dravo/original_gamma.json"; }

    static inline const std::vector<std::string> kOutputs{"DUMMY0", "DUMMY1", "DUMMY2", "DUMMY3"};

private:
    TestHome home_;
    Environment session_ = onServer();
    Ramps own_;
    double intensity_ = kStrong;
};

}  // namespace dravo::testing
