#include "ui/shell/x11_connection.h"

#include <QGuiApplication>

#include "base/owned.h"

namespace dravo::ui {

xcb_connection_t* x11Connection() {
    const auto* const x11 = qGuiApp->nativeInterface<QNativeInterface::QX11Application>();
    return x11 ? x11->connection() : nullptr;
}

xcb_atom_t x11Atom(std::string_view name) {
    xcb_connection_t* const connection = x11Connection();
    const auto cookie = xcb_intern_atom(connection, 0, static_cast<std::uint16_t>(name.size()), name.data());
    const Freed<xcb_intern_atom_reply_t> reply(xcb_intern_atom_reply(connection, cookie, nullptr));
    return reply ? reply->atom : static_cast<xcb_atom_t>(XCB_ATOM_NONE);
}

bool isOwned(xcb_atom_t selection) {
    xcb_connection_t* const connection = x11Connection();
    if (!connection) return false;
    const auto cookie = xcb_get_selection_owner(connection, selection);
    const Freed<xcb_get_selection_owner_reply_t> reply(xcb_get_selection_owner_reply(connection, cookie, nullptr));
    return reply && reply->owner != XCB_WINDOW_NONE;
}

xcb_window_t x11Root() { return xcb_setup_roots_iterator(xcb_get_setup(x11Connection())).data->root; }

}  // namespace dravo::ui
