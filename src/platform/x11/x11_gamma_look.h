#pragma once

#include <map>
#include <memory>
#include <optional>
#include <vector>

#include "platform/x11/x11_topology.h"

namespace dravo::x11 {

/// The once-a-second look at what the displays hold, at one wake-up a second.
///
/// Its own connection asks the server to wait most of a second on the server's clock and then to report the ramps. The
/// descriptor is in no loop: at the next tick the answers lie there already. Asking at the tick instead would wake the
/// process once for each piece in which the answers come.
///
/// Not a writer. Thread: main thread.
class GammaLook {
public:
    /// Errors: `Unsupported` (no SYNC extension or server clock: look with plain reads), `Disconnected`.
    [[nodiscard]] static Result<std::unique_ptr<GammaLook>> open(const std::string& display);

    /// Asks for the ramps of `crtcs`, to be read by the server a little before the next tick.
    /// REQUIRES: nothing is pending.
    void ask(std::span<const CrtcId> crtcs);

    [[nodiscard]] bool isPending() const { return !questions_.empty(); }

    using Answers = std::map<CrtcId, RampLevels>;

    /// What the displays held, once every answer is there; nothing before that, without waiting. Empty if nothing was
    /// asked. A CRTC that is gone or has no table is left out. A broken connection answers with an empty map.
    [[nodiscard]] std::optional<Answers> collect();

private:
    GammaLook(Connection connection, std::uint32_t serverClock)
        : connection_(std::move(connection)), serverClock_(serverClock) {}

    struct Question {
        CrtcId crtc;
        unsigned int sequence;
    };

    Connection connection_;
    std::uint32_t serverClock_;
    std::vector<Question> questions_;  // answered in order; the front ones leave as they are read
    Answers answers_;
};

}  // namespace dravo::x11
