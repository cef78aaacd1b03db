#include "ui/shell/tray_selection.h"

#include <QGuiApplication>
#include <utility>

#include "ui/shell/x11_connection.h"

namespace dravo::ui {

TraySelection::TraySelection(std::function<void()> onOwner)
    : onOwner_(std::move(onOwner)), connection_(x11Connection()) {
    if (!connection_) return;
    selection_ = x11Atom("_NET_SYSTEM_TRAY_S0");
    manager_ = x11Atom("MANAGER");
    // The toolkit asks the root window for this kind of message already.
    qGuiApp->installNativeEventFilter(this);
}

TraySelection::~TraySelection() {
    if (connection_ && qGuiApp) qGuiApp->removeNativeEventFilter(this);
}

bool TraySelection::nativeEventFilter(const QByteArray&, void* message, qintptr*) {
    const auto* const event = static_cast<const xcb_generic_event_t*>(message);
    if ((event->response_type & 0x7f) != XCB_CLIENT_MESSAGE) return false;
    const auto* const announcement = reinterpret_cast<const xcb_client_message_event_t*>(event);
    if (announcement->type == manager_ && announcement->data.data32[1] == selection_) onOwner_();
    return false;
}

}  // namespace dravo::ui
