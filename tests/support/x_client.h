#pragma once

#include <xcb/xcb.h>

#include <cstdint>
#include <stdexcept>
#include <string>

#include "base/owned.h"

namespace dravo::testing {

/// A connection of the test's own to an X server, so that expectations do not rest on the code under test.
class XClient {
public:
    /// Throws std::runtime_error where there is no server.
    explicit XClient(const std::string& address) : connection_(xcb_connect(address.c_str(), nullptr)) {
        if (xcb_connection_has_error(connection()) != 0) throw std::runtime_error("no X server at " + address);
        root_ = xcb_setup_roots_iterator(xcb_get_setup(connection())).data->root;
    }

    [[nodiscard]] xcb_connection_t* connection() const { return connection_.get(); }
    [[nodiscard]] xcb_window_t root() const { return root_; }

    /// The answer to a request, by the function that waits for it; null where the server refuses.
    template <typename Reply, typename Cookie>
    [[nodiscard]] Freed<Reply> answer(Reply* (*wait)(xcb_connection_t*, Cookie, xcb_generic_error_t**),
                                      Cookie cookie) const {
        return Freed<Reply>(wait(connection(), cookie, nullptr));
    }
    /// The same; throws std::runtime_error where the server refuses or is gone.
    template <typename Reply, typename Cookie>
    [[nodiscard]] Freed<Reply> need(Reply* (*wait)(xcb_connection_t*, Cookie, xcb_generic_error_t**),
                                    Cookie cookie) const {
        auto reply = answer(wait, cookie);
        if (!reply) throw std::runtime_error("the X server does not answer");
        return reply;
    }
    /// Whether the server does what a checked request asks.
    [[nodiscard]] bool accepts(xcb_void_cookie_t cookie) const {
        return !Freed<xcb_generic_error_t>(xcb_request_check(connection(), cookie));
    }

    [[nodiscard]] xcb_atom_t atom(const std::string& name) const {
        const auto length = static_cast<std::uint16_t>(name.size());
        return need(xcb_intern_atom_reply, xcb_intern_atom(connection(), 0, length, name.c_str()))->atom;
    }
    /// Waits until the server, which works in order, has done all that was sent, or is gone.
    void sync() const { static_cast<void>(answer(xcb_get_input_focus_reply, xcb_get_input_focus(connection()))); }

private:
    Owned<xcb_connection_t, xcb_disconnect> connection_;
    xcb_window_t root_ = 0;
};

}  // namespace dravo::testing
