#include "support/x_pointer.h"

#include <xcb/xtest.h>

#include <cstdlib>
#include <stdexcept>

namespace dravo::testing {

XPointer::XPointer(const std::string& address) : connection_(xcb_connect(address.c_str(), nullptr), xcb_disconnect) {
    if (xcb_connection_has_error(connection_.get()) != 0) throw std::runtime_error("no X server at " + address);
}

void XPointer::moveTo(Place place) { send(XCB_MOTION_NOTIFY, 0, place); }

void XPointer::click(Place place, Button button) {
    press(place, button);
    letGo(place, button);
}

void XPointer::press(Place place, Button button) {
    moveTo(place);
    send(XCB_BUTTON_PRESS, static_cast<std::uint8_t>(button), place);
}

void XPointer::letGo(Place place, Button button) { send(XCB_BUTTON_RELEASE, static_cast<std::uint8_t>(button), place); }

void XPointer::send(std::uint8_t type, std::uint8_t detail, Place place) {
    xcb_test_fake_input(connection_.get(), type, detail, XCB_CURRENT_TIME, XCB_NONE, static_cast<std::int16_t>(place.x),
                        static_cast<std::int16_t>(place.y), 0);
    // The server answers in order.
    std::free(xcb_get_input_focus_reply(connection_.get(), xcb_get_input_focus(connection_.get()), nullptr));
}

}  // namespace dravo::testing
