#pragma once

#include <xcb/xtest.h>

#include <ranges>
#include <set>
#include <vector>

#include "support/x_windows.h"

namespace dravo::testing {

/// Keys by the X server's numbers; the letters are an ANSI keyboard's.
namespace key {
inline constexpr std::uint8_t kEscape = 9;
inline constexpr std::uint8_t kTab = 23;
inline constexpr std::uint8_t kQ = 24;
inline constexpr std::uint8_t kE = 26;
inline constexpr std::uint8_t kReturn = 36;
inline constexpr std::uint8_t kControl = 37;
inline constexpr std::uint8_t kShift = 50;
inline constexpr std::uint8_t kAlt = 64;
inline constexpr std::uint8_t kCapsLock = 66;
inline constexpr std::uint8_t kNumLock = 77;
inline constexpr std::uint8_t kSuper = 133;
}  // namespace key

enum class Button : std::uint8_t { left = 1, middle = 2, right = 3 };

/// A person's hands on an X server's keyboard and mouse. The server has handled what they do when a call returns.
/// Keys that are held are let go when this is destroyed.
class XHands : public XClient {
public:
    using XClient::XClient;
    ~XHands() {
        while (!held_.empty()) letGo(*held_.begin());
    }

    void hold(std::uint8_t keycode) {
        held_.insert(keycode);
        send(XCB_KEY_PRESS, keycode);
    }
    void letGo(std::uint8_t keycode) {
        held_.erase(keycode);
        send(XCB_KEY_RELEASE, keycode);
    }
    /// Holds the keys in this order and lets them go in the other.
    void press(const std::vector<std::uint8_t>& keycodes) {
        for (const auto keycode : keycodes) hold(keycode);
        for (const auto keycode : std::views::reverse(keycodes)) letGo(keycode);
    }

    void moveTo(Place place) { send(XCB_MOTION_NOTIFY, 0, place); }
    void click(Place place, Button button = Button::left) {
        clickDown(place, button);
        clickUp(place, button);
    }
    /// The two halves of a click.
    void clickDown(Place place, Button button = Button::left) {
        moveTo(place);
        send(XCB_BUTTON_PRESS, static_cast<std::uint8_t>(button), place);
    }
    void clickUp(Place place, Button button = Button::left) {
        send(XCB_BUTTON_RELEASE, static_cast<std::uint8_t>(button), place);
    }

private:
    void send(std::uint8_t type, std::uint8_t detail, Place place = {}) {
        xcb_test_fake_input(connection(), type, detail, XCB_CURRENT_TIME, XCB_NONE, static_cast<std::int16_t>(place.x),
                            static_cast<std::int16_t>(place.y), 0);
        sync();
    }

    std::set<std::uint8_t> held_;
};

}  // namespace dravo::testing
