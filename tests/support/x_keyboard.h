#pragma once

#include <xcb/xcb.h>

#include <cstdint>
#include <memory>
#include <set>
#include <string>
#include <vector>

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
inline constexpr std::uint8_t kUp = 111;
inline constexpr std::uint8_t kDown = 116;
inline constexpr std::uint8_t kSuper = 133;
}  // namespace key

/// A person's fingers on an X server's keyboard. What is held is let go when this is destroyed.
class XKeyboard {
public:
    explicit XKeyboard(const std::string& address);
    ~XKeyboard();
    XKeyboard(const XKeyboard&) = delete;
    XKeyboard& operator=(const XKeyboard&) = delete;

    /// The server has handled it when the call returns.
    void hold(std::uint8_t keycode) { send(XCB_KEY_PRESS, keycode); }
    void letGo(std::uint8_t keycode) { send(XCB_KEY_RELEASE, keycode); }

    /// Holds the keys in this order and lets them go in the other.
    void press(const std::vector<std::uint8_t>& keycodes);

private:
    void send(std::uint8_t type, std::uint8_t keycode);

    std::unique_ptr<xcb_connection_t, void (*)(xcb_connection_t*)> connection_;
    std::set<std::uint8_t> held_;
};

}  // namespace dravo::testing
