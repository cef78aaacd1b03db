#pragma once

#include <optional>

#include "display/grayscale_service.h"
#include "display/original_gamma_store.h"

namespace dravo {

/// Switches the desktop's grayscale mode on for a preset that wants it, and undoes only what it switched on itself:
/// a person who had everything gray before keeps it.
///
/// It is noted in the saved tables before it is done, so that a later start or a restore knows what to undo.
///
/// Thread: main thread. Lifetime: service and store outlive it.
class GrayscaleSwitch {
public:
    GrayscaleSwitch(GrayscaleService& service, OriginalGammaStore& store) : service_(service), store_(store) {}

    /// Switches off what an earlier run left on that ended uncleanly, as the saved tables tell. Comes after they were
    /// read.
    void undoUncleanRun();

    /// Equal requests in a row cost nothing. One that the service refused is made again by the next call; a desktop
    /// without a grayscale mode is asked once.
    void set(bool enabled);

    /// The end of a run: undoes what it switched on; every later request does nothing.
    void shutDown();

    /// Whether this desktop has no such mode, asked anew: displays come and go.
    [[nodiscard]] bool isUnsupported() const;
    /// Whether the mode is on because of this.
    [[nodiscard]] bool isOurs() const { return isOurs_; }
    /// Answers from now on for a mode that a predecessor switched on: it is on, and stays.
    void takeOver();

private:
    Result<void> switchOn();
    Result<void> switchOff();

    GrayscaleService& service_;
    OriginalGammaStore& store_;
    bool isOurs_ = false;
    bool hasEnded_ = false;
    std::optional<bool> settled_ = false;  ///< The last request that needs nothing more; none after a refusal.
};

}  // namespace dravo
