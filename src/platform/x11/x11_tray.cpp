#include "platform/x11/x11_tray.h"

#include <string_view>

#include "platform/x11/x11_connection.h"

namespace dravo::x11 {

bool hasEmbeddingTray(const std::string& display) {
    constexpr std::string_view kSelection = "_NET_SYSTEM_TRAY_S0";
    const auto connection = connect(display);
    if (!connection) return false;
    auto* const server = connection->get();
    const auto named = xcb_intern_atom(server, 1, static_cast<std::uint16_t>(kSelection.size()), kSelection.data());
    const auto atom = fetchReply(server, xcb_intern_atom_reply, named);
    if (!atom || atom->atom == XCB_ATOM_NONE) return false;
    const auto owned = xcb_get_selection_owner(server, atom->atom);
    const auto owner = fetchReply(server, xcb_get_selection_owner_reply, owned);
    return owner && owner->owner != XCB_WINDOW_NONE;
}

}  // namespace dravo::x11
