#pragma once

#include <map>
#include <string>
#include <vector>

#include "display/gamma_table.h"
#include "display/ramp_levels.h"
#include "platform/posix/instance_lock.h"
#include "support/desktop_test.h"
#include "support/process_under_test.h"

namespace dravo::testing {

using Ramps = std::map<std::string, Ramp>;

/// What a display shows under the preset of these tests at this intensity.
inline Ramp filtered(double intensity) {
    const auto levels = toLevels(computeTable(FilterPreset::fl41(), intensity, 0, 0, 0), 256);
    return {levels.red, levels.green, levels.blue};
}

/// What a start says that had to undo what an earlier one left.
inline constexpr const char* kCrashNotice = "Restored gamma from previous crash\n";

inline constexpr double kWeak = 0.4;
inline constexpr double kStrong = 0.9;

/// Whether the table lies between weak and strong in every entry: what a fade from one to the other may show.
inline bool isFiltered(const Ramp& ramp) {
    static const Ramp weak = filtered(kWeak);
    static const Ramp strong = filtered(kStrong);
    for (const auto channel : {&Ramp::red, &Ramp::green, &Ramp::blue}) {
        const auto& levels = ramp.*channel;
        if (levels.size() != 256) return false;
        for (std::size_t i = 0; i < levels.size(); ++i) {
            if (levels[i] > (weak.*channel)[i] || levels[i] < (strong.*channel)[i]) return false;
        }
    }
    return true;
}

/// The filtering program in a home of its own, on a real server whose displays were calibrated before: every output
/// has a table of its own, also the one that is off.
class FilterRunTest : public DesktopTest {
protected:
    void SetUp() override {
        DesktopTest::SetUp();
        if (IsSkipped() || HasFatalFailure()) return;
        for (unsigned i = 0; i < kOutputs.size(); ++i) displays().setRamp(kOutputs[i], calibrationRamp(i + 1));
        own_ = tables();
        prefer(kStrong);
    }

    using Run = std::unique_ptr<ProcessUnderTest>;

    [[nodiscard]] Run start() {
        return std::make_unique<ProcessUnderTest>(home_, std::vector<std::string>{"--headless"}, onServer());
    }
    /// The same, once it is the run that is in charge, and every display is filtered.
    [[nodiscard]] Run startAndSettle() {
        Run run = start();
        EXPECT_TRUE(waitUntil([&] { return isInCharge(*run) && allShow(filtered(intensity_)); }))
            << run->standardError();
        return run;
    }
    [[nodiscard]] bool isInCharge(const ProcessUnderTest& run) const {
        const auto holder = posix::InstanceLock::run({home_.path() / ".dravo", home_.runtimeFolder() / "dravo"});
        return holder && holder->number() == run.pid();
    }

    /// Writes settings with the filter on at this intensity; a run that is there fades to it.
    void prefer(double intensity, bool isOn = true) {
        intensity_ = intensity;
        home_.writePreferences(std::string("filterEnabled = ") + (isOn ? "true" : "false") +
                               "\nlastPresetID = \"fl41\"\nlastIntensity = " + (intensity == kWeak ? "0.4" : "0.9") +
                               "\n");
    }
    /// The other of the two intensities.
    void preferOther() { prefer(intensity_ == kWeak ? kStrong : kWeak); }
    [[nodiscard]] double intensity() const { return intensity_; }

    /// Ends the run as the panel's Quit does.
    static void quit(ProcessUnderTest& run) {
        run.signal(SIGUSR2);
        EXPECT_EQ(run.waitForExit(), ExitStatus::exited(0)) << run.standardError();
    }
    static void killHard(ProcessUnderTest& run) {
        run.signal(SIGKILL);
        EXPECT_EQ(run.waitForExit(), ExitStatus::killedBy(SIGKILL));
    }

    /// The tables of all outputs of these tests, on or off.
    [[nodiscard]] Ramps tables() { return displays().ramps(kOutputs); }
    [[nodiscard]] const Ramps& ownTables() const { return own_; }
    /// Whether every display that is on shows `ramp`.
    [[nodiscard]] bool allShow(const Ramp& ramp) {
        const auto shown = displays().ramps();
        return std::all_of(shown.begin(), shown.end(), [&](const auto& display) { return display.second == ramp; });
    }

    [[nodiscard]] TestHome& home() { return home_; }
    [[nodiscard]] std::filesystem::path savedTables() const { return home_.path() / ".dravo/original_gamma.json"; }

    static inline const std::vector<std::string> kOutputs{"DUMMY0", "DUMMY1", "DUMMY2", "DUMMY3"};

private:
    TestHome home_;
    Ramps own_;
    double intensity_ = kStrong;
};

}  // namespace dravo::testing
