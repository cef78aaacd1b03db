#include "ui/shell/outside_press.h"

#include <xcb/xinput.h>

#include <QGuiApplication>
#include <utility>

#include "ui/shell/x11_connection.h"

namespace dravo::ui {

OutsidePress::OutsidePress(std::function<void()> onPress) : onPress_(std::move(onPress)), connection_(x11Connection()) {
    if (!connection_) return;
    const auto* const extension = xcb_get_extension_data(connection_, &xcb_input_id);
    if (extension && extension->present) extension_ = extension->major_opcode;
}

OutsidePress::~OutsidePress() {
    if (qGuiApp) setWatching(false);
}

void OutsidePress::setWatching(bool isWatching) {
    if (extension_ == 0 || isWatching == isWatching_) return;
    isWatching_ = isWatching;
    if (isWatching) {
        qGuiApp->installNativeEventFilter(this);
    } else {
        qGuiApp->removeNativeEventFilter(this);
    }
    struct {
        xcb_input_event_mask_t head;
        std::uint32_t mask;
    } selection{{XCB_INPUT_DEVICE_ALL_MASTER, 1},
                isWatching ? std::uint32_t{XCB_INPUT_XI_EVENT_MASK_RAW_BUTTON_PRESS} : 0U};
    xcb_input_xi_select_events(connection_, x11Root(), 1, &selection.head);
    xcb_flush(connection_);
}

bool OutsidePress::nativeEventFilter(const QByteArray&, void* message, qintptr*) {
    const auto* const event = static_cast<const xcb_ge_generic_event_t*>(message);
    if ((event->response_type & 0x7f) == XCB_GE_GENERIC && event->extension == extension_ &&
        event->event_type == XCB_INPUT_RAW_BUTTON_PRESS) {
        onPress_();
    }
    return false;
}

}  // namespace dravo::ui
