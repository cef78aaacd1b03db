#pragma once

#include <vector>

#include "base/scheduler.h"
#include "display/gamma_table.h"
#include "display/table_device.h"

namespace dravo {

/// A fade of several hardware tables at once, each from what it holds to what it shall hold: ten frames over 0.3 s, the
/// first a tenth of the way, the last exact. Frames that are late are left out.
///
/// Blends level by level, so that no entry of any frame is brighter than at both ends. Reads no clock.
class TableFade {
public:
    /// One table's way. `from` and `to` have one length.
    struct Way {
        CrtcId crtc{};
        RampLevels from;
        RampLevels to;
    };

    TableFade(std::vector<Way> ways, SteadyTime start);

    /// Whether a frame is due that was not the latest yet; it is the latest then.
    bool advance(SteadyTime now);

    /// The latest frame. REQUIRES: `advance` has been true once.
    [[nodiscard]] const std::vector<CrtcLevels>& frame() const { return frame_; }

    /// Whether the latest frame is the last.
    [[nodiscard]] bool isAtEnd() const;
    /// Whether the last frame has stood for its time, too.
    [[nodiscard]] bool isOver(SteadyTime now) const;
    /// When to ask next.
    [[nodiscard]] SteadyTime nextFrame() const;

private:
    std::vector<Way> ways_;
    SteadyTime start_;
    int framesShown_ = 0;  ///< The number of the latest frame, also if frames before it were left out.
    std::vector<CrtcLevels> frame_;
};

}  // namespace dravo
