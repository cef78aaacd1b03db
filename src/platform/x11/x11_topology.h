#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "display/table_device.h"
#include "platform/x11/x11_connection.h"

namespace dravo::x11 {

/// All outputs and CRTCs of a server at one moment.
struct Topology {
    DeviceTopology device;
    std::vector<xcb_randr_output_t> matrixOutputs;  ///< Those whose driver has a colour matrix ("CTM" property).
};

inline xcb_randr_crtc_t native(CrtcId crtc) { return static_cast<xcb_randr_crtc_t>(crtc); }

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
[[nodiscard]] Result<std::vector<RampLevels>> readLevels(const Connection& connection, std::span<const CrtcId> crtcs);

/// "the display server is gone".
[[nodiscard]] Error disconnected();

/// A Wayland session's X server takes tables and does nothing with them.
[[nodiscard]] Error waylandSession();

/// The levels in a gamma reply.
[[nodiscard]] RampLevels levelsOf(const xcb_randr_get_crtc_gamma_reply_t& reply);

}  // namespace dravo::x11
