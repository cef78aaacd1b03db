#include "ui/shell/input_watch.h"

#include <xcb/xinput.h>

#include <QGuiApplication>
#include <utility>

#include "ui/shell/x11_connection.h"

namespace dravo::ui {

namespace {

constexpr std::uint32_t kWatched = XCB_INPUT_XI_EVENT_MASK_RAW_BUTTON_PRESS |
                                   XCB_INPUT_XI_EVENT_MASK_RAW_BUTTON_RELEASE | XCB_INPUT_XI_EVENT_MASK_RAW_KEY_PRESS |
                                   XCB_INPUT_XI_EVENT_MASK_RAW_KEY_RELEASE | XCB_INPUT_XI_EVENT_MASK_RAW_TOUCH_BEGIN;

bool isWheel(std::uint32_t button) { return button >= 4 && button <= 7; }

}  // namespace

InputWatch::InputWatch(Handlers handlers) : handlers_(std::move(handlers)), connection_(x11Connection()) {
    if (!connection_) return;
    const auto* const extension = xcb_get_extension_data(connection_, &xcb_input_id);
    if (extension && extension->present) extension_ = extension->major_opcode;
}

InputWatch::~InputWatch() {
    if (qGuiApp) setWatching(false);
}

void InputWatch::setWatching(bool isWatching) {
    if (!canWatch() || isWatching == isWatching_) return;
    isWatching_ = isWatching;
    if (isWatching) {
        qGuiApp->installNativeEventFilter(this);
    } else {
        qGuiApp->removeNativeEventFilter(this);
    }
    struct {
        xcb_input_event_mask_t head;
        std::uint32_t mask;
    } selection{{XCB_INPUT_DEVICE_ALL_MASTER, 1}, isWatching ? kWatched : 0U};
    xcb_input_xi_select_events(connection_, x11Root(), 1, &selection.head);
    xcb_flush(connection_);
}

bool InputWatch::nativeEventFilter(const QByteArray&, void* message, qintptr*) {
    const auto* const event = static_cast<const xcb_ge_generic_event_t*>(message);
    if ((event->response_type & 0x7f) != XCB_GE_GENERIC || event->extension != extension_) return false;
    // Raw events of keys and of buttons are of one form.
    const auto detail = static_cast<const xcb_input_raw_button_press_event_t*>(message)->detail;
    switch (event->event_type) {
        case XCB_INPUT_RAW_BUTTON_PRESS:
        case XCB_INPUT_RAW_BUTTON_RELEASE:
            if (!isWheel(detail)) handlers_.onButton(event->event_type == XCB_INPUT_RAW_BUTTON_PRESS);
            break;
        case XCB_INPUT_RAW_KEY_PRESS:
        case XCB_INPUT_RAW_KEY_RELEASE:
            handlers_.onKey(static_cast<std::uint8_t>(detail), event->event_type == XCB_INPUT_RAW_KEY_PRESS);
            break;
        case XCB_INPUT_RAW_TOUCH_BEGIN:
            handlers_.onTouch();
            break;
        default:
            break;
    }
    return false;
}

}  // namespace dravo::ui
