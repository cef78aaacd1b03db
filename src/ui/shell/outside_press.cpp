#include "ui/shell/outside_press.h"

#include <xcb/xinput.h>

#include <QGuiApplication>
#include <utility>

#include "ui/shell/x11_connection.h"

namespace dravo::ui {

namespace {

constexpr std::uint32_t kButtons =
    XCB_INPUT_XI_EVENT_MASK_RAW_BUTTON_PRESS | XCB_INPUT_XI_EVENT_MASK_RAW_BUTTON_RELEASE;

bool isWheel(std::uint32_t button) { return button >= 4 && button <= 7; }

}  // namespace

OutsidePress::OutsidePress(std::function<void()> onPress, std::function<void()> onRelease)
    : onPress_(std::move(onPress)), onRelease_(std::move(onRelease)), connection_(x11Connection()) {
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
    } selection{{XCB_INPUT_DEVICE_ALL_MASTER, 1}, isWatching ? kButtons : 0U};
    xcb_input_xi_select_events(connection_, x11Root(), 1, &selection.head);
    xcb_flush(connection_);
}

bool OutsidePress::nativeEventFilter(const QByteArray&, void* message, qintptr*) {
    const auto* const event = static_cast<const xcb_ge_generic_event_t*>(message);
    if ((event->response_type & 0x7f) != XCB_GE_GENERIC || event->extension != extension_) return false;
    const bool isPress = event->event_type == XCB_INPUT_RAW_BUTTON_PRESS;
    if (!isPress && event->event_type != XCB_INPUT_RAW_BUTTON_RELEASE) return false;
    if (isWheel(static_cast<const xcb_input_raw_button_press_event_t*>(message)->detail)) return false;
    isPress ? onPress_() : onRelease_();
    return false;
}

}  // namespace dravo::ui
