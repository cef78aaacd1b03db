#pragma once

#include <wayland-client-core.h>

#include <chrono>
#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "base/owned.h"
#include "base/result.h"

struct wl_callback;
struct wl_registry;

namespace dravo::wayland {

/// For whoever has to wait for a compositor's answer.
inline constexpr std::chrono::milliseconds kPatience{2000};

/// A connection to the compositor, and what it tells of its globals.
///
/// Listeners, those of the objects made on it included, run inside `serve` and `wait`. Never waits but in `wait`.
/// Thread: one. Lifetime: outlives every object made on it.
class Connection {
public:
    /// A global object, by its number on this connection.
    struct Global {
        std::uint32_t name = 0;
        std::string interface;
        std::uint32_t version = 0;
    };

    /// Connects as libwayland does, by WAYLAND_SOCKET, else WAYLAND_DISPLAY, and asks for the globals.
    /// Errors: `Disconnected`.
    [[nodiscard]] static Result<std::unique_ptr<Connection>> create();
    ~Connection();
    Connection(const Connection&) = delete;
    Connection& operator=(const Connection&) = delete;

    std::function<void(const Global&)> onGlobal;
    std::function<void(std::uint32_t name)> onGlobalRemoved;

    [[nodiscard]] wl_registry* registry() const { return registry_; }
    [[nodiscard]] int descriptor() const { return wl_display_get_fd(display_.get()); }

    /// Asks for an answer behind everything that was requested so far: it has come once `hasAnswered` of the number.
    std::uint64_t ask();
    [[nodiscard]] bool hasAnswered(std::uint64_t question) const { return answered_ >= question; }

    /// Sends what was requested. False if the compositor has not taken all of it: ask again.
    bool flush();
    /// Takes in what has come. False once the compositor is gone, or has thrown us out.
    bool serve();
    /// The same, having waited for something to come. False also if nothing came in time.
    bool wait(std::chrono::milliseconds patience);

    [[nodiscard]] bool isBroken() const { return wl_display_get_error(display_.get()) != 0; }

    /// The object that a compositor says we have used wrongly, if it threw us out for that.
    struct Fault {
        std::string interface;
        std::uint32_t object = 0;
    };
    [[nodiscard]] std::optional<Fault> fault() const;

private:
    explicit Connection(wl_display* display);

    Owned<wl_display, wl_display_disconnect> display_;
    wl_registry* registry_ = nullptr;
    std::deque<wl_callback*> questions_;
    std::uint64_t answered_ = 0;
};

}  // namespace dravo::wayland
