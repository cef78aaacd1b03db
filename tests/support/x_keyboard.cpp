#include "support/x_keyboard.h"

#include <xcb/xtest.h>

#include <cstdlib>
#include <ranges>
#include <stdexcept>

namespace dravo::testing {

XKeyboard::XKeyboard(const std::string& address) : connection_(xcb_connect(address.c_str(), nullptr), xcb_disconnect) {
    if (xcb_connection_has_error(connection_.get()) != 0) throw std::runtime_error("no X server at " + address);
}

XKeyboard::~XKeyboard() {
    const auto held = held_;
    for (const auto keycode : held) letGo(keycode);
}

void XKeyboard::press(const std::vector<std::uint8_t>& keycodes) {
    for (const auto keycode : keycodes) hold(keycode);
    for (const auto keycode : std::views::reverse(keycodes)) letGo(keycode);
}

void XKeyboard::send(std::uint8_t type, std::uint8_t keycode) {
    if (type == XCB_KEY_PRESS) {
        held_.insert(keycode);
    } else {
        held_.erase(keycode);
    }
    xcb_test_fake_input(connection_.get(), type, keycode, XCB_CURRENT_TIME, XCB_NONE, 0, 0, 0);
    // The server answers in order.
    std::free(xcb_get_input_focus_reply(connection_.get(), xcb_get_input_focus(connection_.get()), nullptr));
}

}  // namespace dravo::testing
