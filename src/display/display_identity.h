#pragma once

#include <cstdint>
#include <map>
#include <set>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "display/displays.h"

namespace dravo {

/// What a display server knows of an output: the connector's name and the monitor's EDID (empty if it has none).
struct OutputIdentity {
    std::string connector;
    std::vector<std::uint8_t> edid;
};

/// Gives outputs their DisplayIds, so that a monitor keeps its number over restarts and re-plugs.
///
/// The number is (16-bit hash of the EDID's base block << 16) | 16-bit hash of the connector's name. Without an EDID
/// the upper half is 0, with one it never is; the lower half is never 0. Knows no display server.
///
/// Thread: one thread.
class DisplayIdentities {
public:
    /// Declares numbers that an earlier run gave. What this run has given so far is forgotten: assign again.
    void know(std::span<const DisplayId> ids);

    /// The numbers of the outputs that are on now, in their order; no two are equal. The order of the outputs does
    /// not matter. In turn:
    /// - an output that was on at the previous call, or else earlier in this run, with the same monitor keeps its
    /// number;
    /// - a monitor whose number is known gets it;
    /// - a monitor whose number is unknown while exactly one known, absent number has its EDID gets that one: its
    ///   connector has another name now;
    /// - whoever is left gets a number of its own; a clash is resolved by counting the lower half up, in the order of
    ///   the connectors' names.
    [[nodiscard]] std::vector<DisplayId> assign(std::span<const OutputIdentity> online);

private:
    using Monitor = std::pair<std::string, std::uint16_t>;  ///< Connector and EDID half.

    std::set<DisplayId> declared_;
    std::set<DisplayId> known_;  ///< Declared or given in this run.
    std::map<Monitor, DisplayId> remembered_;
    std::map<Monitor, DisplayId> lastOnline_;
};

/// Which of several mirrored outputs on one CRTC stands for them all: the one whose connector's name comes first.
/// REQUIRES: not empty.
[[nodiscard]] std::size_t representativeOutput(std::span<const std::string> connectors);

}  // namespace dravo
