#pragma once

#include <optional>

#include "display/grayscale_service.h"

namespace dravo {

/// Switches the desktop's grayscale mode on for a preset that wants it, and undoes only what it switched on itself:
/// a person who had everything gray before keeps it.
///
/// Thread: main thread.
class GrayscaleSwitch {
public:
    explicit GrayscaleSwitch(GrayscaleService& service) : service_(service) {}

    /// Equal requests in a row cost nothing. One that the service refused is made again by the next call; a desktop
    /// without a grayscale mode is asked once.
    void set(bool enabled);

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
    bool isOurs_ = false;
    std::optional<bool> settled_ = false;  ///< The last request that needs nothing more; none after a refusal.
};

}  // namespace dravo
