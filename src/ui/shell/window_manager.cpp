#include "ui/shell/window_manager.h"

#include <QWidget>
#include <array>

#include "ui/shell/x11_connection.h"

namespace dravo::ui {

bool hasCompositor() { return !x11Connection() || isOwned(x11Atom("_NET_WM_CM_S0")); }

bool placesWindows() { return x11Connection() != nullptr; }

void standApart(QWidget& window) {
    xcb_connection_t* const connection = x11Connection();
    if (!connection) return;
    const auto id = static_cast<xcb_window_t>(window.winId());
    const std::array states{x11Atom("_NET_WM_STATE_SKIP_TASKBAR"), x11Atom("_NET_WM_STATE_SKIP_PAGER")};
    xcb_change_property(connection, XCB_PROP_MODE_APPEND, id, x11Atom("_NET_WM_STATE"), XCB_ATOM_ATOM, 32,
                        states.size(), states.data());
    const std::uint32_t everyWorkspace = 0xffffffff;
    xcb_change_property(connection, XCB_PROP_MODE_REPLACE, id, x11Atom("_NET_WM_DESKTOP"), XCB_ATOM_CARDINAL, 32, 1,
                        &everyWorkspace);
}

}  // namespace dravo::ui
