#include "ui/shell/window_manager.h"

#include <array>

#include "ui/shell/x11_connection.h"

namespace dravo::ui {

bool hasCompositor() {
    xcb_connection_t* const connection = x11Connection();
    if (!connection) return true;
    const auto cookie = xcb_get_selection_owner(connection, x11Atom("_NET_WM_CM_S0"));
    const X11Reply<xcb_get_selection_owner_reply_t> reply(xcb_get_selection_owner_reply(connection, cookie, nullptr));
    return reply && reply->owner != XCB_WINDOW_NONE;
}

void standApart(WId window) {
    xcb_connection_t* const connection = x11Connection();
    if (!connection) return;
    const std::array states{x11Atom("_NET_WM_STATE_SKIP_TASKBAR"), x11Atom("_NET_WM_STATE_SKIP_PAGER")};
    xcb_change_property(connection, XCB_PROP_MODE_APPEND, static_cast<xcb_window_t>(window), x11Atom("_NET_WM_STATE"),
                        XCB_ATOM_ATOM, 32, states.size(), states.data());
    const std::uint32_t everyWorkspace = 0xffffffff;
    xcb_change_property(connection, XCB_PROP_MODE_REPLACE, static_cast<xcb_window_t>(window),
                        x11Atom("_NET_WM_DESKTOP"), XCB_ATOM_CARDINAL, 32, 1, &everyWorkspace);
}

}  // namespace dravo::ui
