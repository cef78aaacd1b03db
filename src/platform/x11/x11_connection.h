#pragma once

#include <xcb/randr.h>
#include <xcb/xcb.h>

#include <cstdlib>
#include <string>
#include <type_traits>

#include "base/owned.h"
#include "base/result.h"

namespace dravo::x11 {

/// A reply or error of the server; null when the connection broke or the request failed.
template <typename T>
using Reply = Freed<T>;

using ConnectionHandle = Owned<xcb_connection_t, xcb_disconnect>;

/// A connection to the X server and its first screen's root window.
///
/// Thread: one thread uses a connection. Never shared with a toolkit: the guard may kill the engine's at any moment.
struct Connection {
    ConnectionHandle handle;
    xcb_window_t root = XCB_NONE;

    [[nodiscard]] xcb_connection_t* get() const { return handle.get(); }
    [[nodiscard]] bool isBroken() const { return xcb_connection_has_error(handle.get()) != 0; }
};

/// Connects to `display` (":0"), or to $DISPLAY when it is empty.
/// Errors: `Disconnected` (no server there, or it refused us; the message names the display).
[[nodiscard]] Result<Connection> connect(const std::string& display);

/// The reply to `cookie`, fetched with `fetch` (an xcb `..._reply` function); null on any failure.
template <typename Fetch, typename Cookie>
auto fetchReply(xcb_connection_t* connection, Fetch fetch, Cookie cookie) {
    xcb_generic_error_t* error = nullptr;
    auto* reply = fetch(connection, cookie, &error);
    std::free(error);
    return Reply<std::remove_pointer_t<decltype(reply)>>(reply);
}

}  // namespace dravo::x11
