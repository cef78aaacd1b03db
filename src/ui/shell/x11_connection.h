#pragma once

#include <xcb/xcb.h>

#include <string_view>

namespace dravo::ui {

/// The toolkit's own connection to the X server; null on any other platform.
[[nodiscard]] xcb_connection_t* x11Connection();

/// The number of the atom on that connection. Waits for the server.
[[nodiscard]] xcb_atom_t x11Atom(std::string_view name);

/// The root window of the toolkit's screen.
[[nodiscard]] xcb_window_t x11Root();

/// Whether somebody owns a selection: how trays, compositors and the like show that they are there. False without an X
/// server. Waits for the server.
[[nodiscard]] bool isOwned(xcb_atom_t selection);

}  // namespace dravo::ui
