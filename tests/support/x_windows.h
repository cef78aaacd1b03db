#pragma once

#include <cstdint>
#include <iosfwd>
#include <string>
#include <vector>

#include "support/x_client.h"

namespace dravo::testing {

/// A point of an X screen, in pixels from its upper left corner.
struct Place {
    int x = 0;
    int y = 0;
};

/// A rectangle of an X screen.
struct Box {
    int x = 0;
    int y = 0;
    int width = 0;
    int height = 0;

    [[nodiscard]] Place middle() const { return {x + width / 2, y + height / 2}; }
    [[nodiscard]] bool contains(const Box& other) const {
        return other.x >= x && other.y >= y && other.x + other.width <= x + width &&
               other.y + other.height <= y + height;
    }
    bool operator==(const Box&) const = default;
};
std::ostream& operator<<(std::ostream& out, const Box& box);

/// The windows of an X server.
class XWindows : public XClient {
public:
    struct Window {
        Box box;
        bool isManaged = true;  ///< False for menus, tool tips and tray icons: no window manager has a say in them.
    };

    using XClient::XClient;

    /// All that can be seen now and that `program` gave its name, also those inside others.
    [[nodiscard]] std::vector<Window> of(const std::string& program) const;
    /// The program that keys go to; empty where it does not say.
    [[nodiscard]] std::string focusedProgram() const;
    /// What the screen shows there, one value for each pixel, row by row.
    [[nodiscard]] std::vector<std::uint32_t> picture(const Box& box) const;
    /// Whether a window manager has said that it is ready.
    [[nodiscard]] bool areManaged() const;

private:
    [[nodiscard]] std::string textOf(xcb_get_property_cookie_t cookie) const;
    [[nodiscard]] std::string nameOf(xcb_get_property_cookie_t classes) const;
    [[nodiscard]] xcb_get_property_cookie_t askFor(xcb_window_t window, xcb_atom_t name) const;
};

}  // namespace dravo::testing
