#pragma once

#include <xcb/xcb.h>

#include <cstdlib>
#include <memory>
#include <string_view>

namespace dravo::ui {

/// The toolkit's own connection to the X server; null on any other platform.
[[nodiscard]] xcb_connection_t* x11Connection();

/// The number of the atom on that connection. Waits for the server.
[[nodiscard]] xcb_atom_t x11Atom(std::string_view name);

/// The root window of the toolkit's screen.
[[nodiscard]] xcb_window_t x11Root();

struct FreeReply {
    void operator()(void* reply) const { std::free(reply); }
};
/// What the server answered.
template <typename Answer>
using X11Reply = std::unique_ptr<Answer, FreeReply>;

}  // namespace dravo::ui
