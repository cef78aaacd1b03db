#pragma once

#include <functional>
#include <optional>
#include <utility>

#include "base/result.h"
#include "base/scheduler.h"
#include "base/subscription.h"
#include "display/display_monitor.h"
#include "display/displays.h"
#include "display/gamma_table.h"
#include "display/wake_source.h"

namespace dravo {

/// Brings a table on every display and keeps it there, and gives the displays back. The only one who tells `Displays` a
/// wish. It does not know what a table means.
///
/// While a table is current it is loaded again at once after a display change or a wake, and from time to time where
/// nobody announces what other programs load.
///
/// Thread: main thread. Lifetime: releasing it in the middle of an animated reset finishes the reset at once; otherwise
/// what is on screen stays.
class GammaApplicator {
public:
    GammaApplicator(Displays& displays, WakeSource& wakeSource, Scheduler& scheduler);
    ~GammaApplicator();
    GammaApplicator(const GammaApplicator&) = delete;
    GammaApplicator& operator=(const GammaApplicator&) = delete;

    /// Makes `table` the current one. Animated, it fades from what each display holds.
    void apply(const GammaTable& table, Fade fade);

    /// Drops the current table and returns the displays to their calibration; animated if there was one.
    void reset(Fade fade);

    /// `reset` without a fade, for those who have to know: returns when the server has confirmed it.
    /// Errors: those of `Displays::giveBack`; it is asked again until another table is wanted.
    [[nodiscard]] Result<void> resetAtOnce();

    /// The end of a run: cancels a fade, stops all timers and returns the displays to their calibration, once and for
    /// good: whatever is asked of this afterwards does nothing.
    /// Errors: those of `Displays::giveBack`; the saved tables must then stay.
    [[nodiscard]] Result<void> shutDown();

    /// Loads the current table once more; during a fade the frame on screen.
    void reapplyCurrent();

    [[nodiscard]] bool isRamping() const { return displays_.isFading(); }

    /// `callback` runs when a fade has ended or was cut short, and no other follows it at once.
    [[nodiscard]] Subscription onRampEnd(std::function<void()> callback) {
        return displays_.onFadeEnd(std::move(callback));
    }

private:
    Result<void> giveBack(Displays::GivingBack how);
    void stopKeeping();

    Displays& displays_;
    Scheduler& scheduler_;
    std::optional<GammaTable> currentTable_;
    bool hasEnded_ = false;
    DisplayMonitor displayMonitor_;
    Timer reapplyTimer_;
};

}  // namespace dravo
