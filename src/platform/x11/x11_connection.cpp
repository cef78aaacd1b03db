#include "platform/x11/x11_connection.h"

#include "base/localized.h"

namespace dravo::x11 {

Result<Connection> connect(const std::string& display) {
    int screenNumber = 0;
    ConnectionHandle handle(xcb_connect(display.empty() ? nullptr : display.c_str(), &screenNumber));
    if (xcb_connection_has_error(handle.get()) != 0) {
        const char* environment = std::getenv("DISPLAY");
        const std::string name = !display.empty() ? display : environment ? environment : "";
        return Error{ErrorCode::Disconnected, name.empty() ? Sentence(textKey("no X server: DISPLAY is not set"))
                                                           : Sentence(textKey("no X server answers at %@"), {name})};
    }
    auto screens = xcb_setup_roots_iterator(xcb_get_setup(handle.get()));
    for (; screenNumber > 0 && screens.rem > 1; --screenNumber) xcb_screen_next(&screens);
    const xcb_window_t root = screens.data->root;
    return Connection{std::move(handle), root};
}

}  // namespace dravo::x11
