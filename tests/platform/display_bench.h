#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "base/scheduler.h"
#include "display/ramp_levels.h"
#include "display/table_device.h"

namespace dravo {

/// A desk with three connectors, each with a CRTC of its own, for tests of a TableDevice and of what keeps the books on
/// it. What a bench does and sees goes past the adapter under test. At first all three are on, hold `firstOwnTable`,
/// and have no EDID.
class DisplayBench {
public:
    static constexpr int kSlots = 3;

    virtual ~DisplayBench() = default;

    /// Starts a client. The one before, if any, is gone without having restored anything: a crash.
    virtual TableDevice& connect() = 0;
    /// What the client's own loop runs on.
    virtual Scheduler& scheduler() = 0;

    /// These have been delivered to the client when they return.
    virtual void switchOn(int slot) = 0;
    virtual void switchOff(int slot) = 0;
    virtual void setEdid(int slot, const std::vector<std::uint8_t>& edid) = 0;

    /// Another program loads a table; the client is not told.
    virtual void foreignWrite(int slot, const RampLevels& levels) = 0;

    /// What the slot's CRTC holds, also while it is off.
    virtual RampLevels held(int slot) = 0;

    virtual std::string connector(int slot) = 0;
    virtual void shutDown() = 0;

    /// Lets the client run until `condition` holds or a few seconds have passed; returns what holds then.
    virtual bool eventually(const std::function<bool()>& condition) = 0;

    /// A crooked table that no rule of arithmetic would produce, another for each slot.
    static RampLevels firstOwnTable(int slot, std::size_t size) {
        RampLevels levels = toLevels(GammaTable::identity(), size);
        for (std::size_t i = 0; i < size; ++i) {
            levels.red[i] = static_cast<std::uint16_t>(levels.red[i] / 8U * 7U + i % 5U);
            levels.green[i] = static_cast<std::uint16_t>(levels.green[i] - levels.green[i] / 16U);
            levels.blue[i] = static_cast<std::uint16_t>(levels.blue[i] / (static_cast<unsigned>(slot) + 2U));
        }
        return levels;
    }
};

}  // namespace dravo
