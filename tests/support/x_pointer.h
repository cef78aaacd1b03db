#pragma once

#include <xcb/xcb.h>

#include <cstdint>
#include <memory>
#include <string>

#include "support/x_windows.h"

namespace dravo::testing {

/// A person's mouse on an X server.
class XPointer {
public:
    enum class Button : std::uint8_t { left = 1, middle = 2, right = 3 };

    explicit XPointer(const std::string& address);

    /// Moves there, presses and lets go. The server has handled it when the call returns.
    void click(Place place, Button button = Button::left);
    /// The two halves of a click.
    void press(Place place, Button button = Button::left);
    void letGo(Place place, Button button = Button::left);
    void moveTo(Place place);

private:
    void send(std::uint8_t type, std::uint8_t detail, Place place);

    std::unique_ptr<xcb_connection_t, void (*)(xcb_connection_t*)> connection_;
};

}  // namespace dravo::testing
