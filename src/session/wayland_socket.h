#pragma once

#include <optional>
#include <string>

#include "base/environment.h"

namespace dravo {

/// The path of the socket that WAYLAND_DISPLAY names, if there is one.
[[nodiscard]] std::optional<std::string> waylandSocket(const Environment& environment);

/// Whether a Wayland compositor shows what is on screen: its socket is there, or a connection was handed to us, or the
/// login said so.
[[nodiscard]] bool isWaylandSession(const Environment& environment);

}  // namespace dravo
