#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "display/ramp_levels.h"
#include "platform/x11/x11_connection.h"

namespace dravo::x11 {

/// One output (connector) of the server, connected or not.
struct Output {
    xcb_randr_output_t id = XCB_NONE;
    std::string name;
    std::vector<std::uint8_t> edid;       ///< Empty when the monitor gives none.
    std::vector<std::uint8_t> profile;    ///< The ICC profile set on it, empty without.
    bool supportsMatrix = false;          ///< Its driver has a colour matrix ("CTM" property).
    xcb_randr_crtc_t crtc = XCB_NONE;     ///< What drives it now; none when it is off.
    std::vector<xcb_randr_crtc_t> crtcs;  ///< What could drive it.
};

/// One CRTC with its gamma ramps as the server holds them, in use or not.
struct Crtc {
    xcb_randr_crtc_t id = XCB_NONE;
    bool enabled = false;
    RampLevels levels;  ///< Empty when it has no table.
};

/// All outputs and CRTCs of a server at one moment.
struct Topology {
    std::vector<Output> outputs;
    std::vector<Crtc> crtcs;
    xcb_randr_output_t primary = XCB_NONE;
    /// The ICC profiles set on the root window, by monitor number; empty where there is none.
    std::vector<std::vector<std::uint8_t>> rootProfiles;
};

/// The output that stands for the display on `crtc`: the first by name of those it drives; null when it is off.
[[nodiscard]] const Output* representativeOf(const Topology& topology, const Crtc& crtc);

/// The ICC profile of the display on `crtc`, empty without: its output's own, else the root window's for its monitor.
/// Monitors are numbered as Xinerama does: the primary output's CRTC first, then the others in the server's order.
[[nodiscard]] std::vector<std::uint8_t> profileOf(const Topology& topology, const Crtc& crtc);

/// The atoms and extension facts that queries need, asked for once per connection.
struct ServerFacts {
    xcb_atom_t edid = XCB_NONE;
    xcb_atom_t iccProfile = XCB_NONE;
    xcb_atom_t matrix = XCB_NONE;
    std::uint8_t randrFirstEvent = 0;
};

/// Negotiates RandR, selects its events on the root window and collects the facts, in two round trips.
/// Errors: `Unsupported` (no RandR 1.3, or a Wayland session's X server, which takes gamma and does nothing with it),
/// `Disconnected`.
[[nodiscard]] Result<ServerFacts> negotiate(const Connection& connection);

/// Reads everything in two round trips, however many outputs there are.
/// Errors: `Disconnected`.
[[nodiscard]] Result<Topology> queryTopology(const Connection& connection, const ServerFacts& facts);

/// Reads the ramps of some CRTCs in one round trip; an entry is empty when its CRTC is gone or has no table.
/// Errors: `Disconnected`.
[[nodiscard]] Result<std::vector<RampLevels>> readLevels(const Connection& connection,
                                                         const std::vector<xcb_randr_crtc_t>& crtcs);

/// "the X server is gone".
[[nodiscard]] Error disconnected();

/// A Wayland session's X server takes tables and does nothing with them.
[[nodiscard]] Error waylandSession();

/// The levels in a gamma reply.
[[nodiscard]] RampLevels levelsOf(const xcb_randr_get_crtc_gamma_reply_t& reply);

}  // namespace dravo::x11
