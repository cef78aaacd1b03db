#pragma once

#include <functional>
#include <optional>
#include <utility>
#include <vector>

#include "base/observable.h"
#include "base/scheduler.h"
#include "base/subscription.h"
#include "display/display_monitor.h"
#include "display/display_server.h"
#include "display/gamma_table.h"
#include "display/original_gamma_store.h"
#include "display/wake_source.h"

namespace dravo {

/// Whether a table comes on screen at once or in ten steps over 0.3 s.
enum class Fade { none, animated };

/// Brings a table on every display and keeps it there, and gives the displays back. Apart from a crash's restore it is
/// the only writer of tables. It does not know what a table means.
///
/// While a table is current it is loaded again about once a second, and at once after a display change or a wake.
/// Failures are dropped; the next look tries again.
///
/// Thread: main thread. Lifetime: releasing it in the middle of an animated reset finishes the reset at once; otherwise
/// what is on screen stays.
class GammaApplicator {
public:
    GammaApplicator(DisplayServer& server, WakeSource& wakeSource, Scheduler& scheduler, OriginalGammaStore& store);
    ~GammaApplicator();
    GammaApplicator(const GammaApplicator&) = delete;
    GammaApplicator& operator=(const GammaApplicator&) = delete;

    /// Makes `table` the current one. Animated, it fades from the current table, or without one from what the first
    /// display holds (if that cannot be read, there is no fade). Never brighter on the way: a fade that would begin
    /// brighter somewhere than the frame on screen begins from that frame.
    void apply(const GammaTable& table, Fade fade);

    /// Drops the current table and returns the displays to their calibration; animated, after a fade to neutral.
    void reset(Fade fade);

    /// `reset` without a fade, for those who have to know: returns when the server has confirmed it.
    /// Errors: those of `DisplayServer::restoreCalibration`; it is asked again until another table is wanted.
    [[nodiscard]] Result<void> resetAtOnce();

    /// The end of a run: cancels a fade, stops all timers and returns the displays to their calibration, once.
    /// Errors: those of `DisplayServer::restoreCalibration`; the saved tables must then stay.
    [[nodiscard]] Result<void> shutDown();

    /// Loads `table` into every display now, without making it current.
    void applyToAllDisplays(const GammaTable& table);

    /// Loads the current table once more; during a fade the frame on screen.
    void reapplyCurrent();

    [[nodiscard]] bool isRamping() const { return ramp_.has_value(); }

    /// `callback` runs when a fade has ended or was cut short, and no other follows it at once.
    [[nodiscard]] Subscription onRampEnd(std::function<void()> callback) { return rampEnds_.add(std::move(callback)); }

private:
    struct Ramp {
        GammaTable from;
        GammaTable to;
        bool resets;
        SteadyTime start;
        int framesShown;  ///< The number of the latest frame, also if frames before it were skipped.
        GammaTable frame;
    };

    [[nodiscard]] std::optional<GammaTable> fadeStart();
    void startRamp(const GammaTable& from, const GammaTable& to, bool resets);
    void showDueFrame();
    void endRamp();
    Result<void> restore();
    void startKeeping();
    void stopKeeping();
    void keep();
    [[nodiscard]] std::vector<DisplayTable> forAllDisplays(const GammaTable& table);

    DisplayServer& server_;
    Scheduler& scheduler_;
    OriginalGammaStore& store_;
    std::optional<GammaTable> currentTable_;
    std::optional<Ramp> ramp_;
    SubscriberList<> rampEnds_;
    DisplayMonitor displayMonitor_;
    Timer reapplyTimer_;
    Timer frameTimer_;
    Timer restoreRetry_;
};

}  // namespace dravo
