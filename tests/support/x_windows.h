#pragma once

#include <xcb/xcb.h>

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace dravo::testing {

/// A point of an X screen, in pixels from its upper left corner.
struct Place {
    int x = 0;
    int y = 0;
    bool operator==(const Place&) const = default;
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

/// The windows of an X server, seen by a client of its own.
class XWindows {
public:
    struct Window {
        std::string program;  ///< The class that the program gives to its windows; often empty.
        std::string title;
        Box box;
        bool isManaged = true;  ///< False for menus, tool tips and tray icons: no window manager has a say in them.
    };

    explicit XWindows(const std::string& address);

    /// All that can be seen now and whose class is `program`, also those inside others.
    [[nodiscard]] std::vector<Window> of(const std::string& program);
    /// The program that keys go to; empty where it does not say.
    [[nodiscard]] std::string focusedProgram();
    /// What the screen shows there, one value for each pixel, row by row.
    [[nodiscard]] std::vector<std::uint32_t> picture(const Box& box);
    /// Whether the screen has a single colour there.
    [[nodiscard]] bool isBlank(const Box& box);
    /// Whether a window manager has said that it is ready.
    [[nodiscard]] bool areManaged();

private:
    struct Found;

    std::unique_ptr<xcb_connection_t, void (*)(xcb_connection_t*)> connection_;
    xcb_window_t root_ = 0;
};

/// A window of another program, "other", that a window manager takes care of.
class OtherWindow {
public:
    OtherWindow(const std::string& address, const Box& box);

    /// Gets the keyboard without a press, as where the focus follows the mouse.
    void takeKeyboard();

private:
    std::unique_ptr<xcb_connection_t, void (*)(xcb_connection_t*)> connection_;
    xcb_window_t window_ = 0;
};

}  // namespace dravo::testing
