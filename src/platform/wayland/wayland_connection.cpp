#include "platform/wayland/wayland_connection.h"

#include <poll.h>
#include <wayland-client-protocol.h>

#include <cerrno>

#include "base/localized.h"
#include "base/system_reason.h"

namespace dravo::wayland {
namespace {

Connection& from(void* data) { return *static_cast<Connection*>(data); }

constexpr wl_registry_listener kRegistryListener{
    .global =
        [](void* data, wl_registry*, std::uint32_t name, const char* interface, std::uint32_t version) {
            if (from(data).onGlobal) from(data).onGlobal({name, interface, version});
        },
    .global_remove =
        [](void* data, wl_registry*, std::uint32_t name) {
            if (from(data).onGlobalRemoved) from(data).onGlobalRemoved(name);
        },
};

}  // namespace

Result<std::unique_ptr<Connection>> Connection::create() {
    // What it would print is said where a person looks for it.
    wl_log_set_handler_client([](const char*, va_list) {});
    wl_display* const display = wl_display_connect(nullptr);
    if (!display)
        return Error{ErrorCode::Disconnected,
                     Sentence(textKey("no Wayland compositor answers: %@"), {systemReason(errno)}), errno};
    return std::unique_ptr<Connection>(new Connection(display));
}

Connection::Connection(wl_display* display) : display_(display), registry_(wl_display_get_registry(display)) {
    wl_registry_add_listener(registry_, &kRegistryListener, this);
}

Connection::~Connection() {
    for (wl_callback* const question : questions_) wl_callback_destroy(question);
    wl_registry_destroy(registry_);
}

std::uint64_t Connection::ask() {
    static constexpr wl_callback_listener kListener{.done = [](void* data, wl_callback* question, std::uint32_t) {
        auto& self = *static_cast<Connection*>(data);
        // They are answered in their order.
        self.questions_.pop_front();
        ++self.answered_;
        wl_callback_destroy(question);
    }};
    wl_callback* const question = wl_display_sync(display_.get());
    wl_callback_add_listener(question, &kListener, this);
    questions_.push_back(question);
    return answered_ + questions_.size();
}

bool Connection::flush() { return wl_display_flush(display_.get()) >= 0 || errno != EAGAIN; }

bool Connection::serve() { return wait(std::chrono::milliseconds{0}) || !isBroken(); }

bool Connection::wait(std::chrono::milliseconds patience) {
    wl_display* const display = display_.get();
    while (wl_display_prepare_read(display) != 0)
        if (wl_display_dispatch_pending(display) < 0) return false;
    flush();
    pollfd readable{descriptor(), POLLIN, 0};
    if (::poll(&readable, 1, static_cast<int>(patience.count())) <= 0) {
        wl_display_cancel_read(display);
        return false;
    }
    return wl_display_read_events(display) >= 0 && wl_display_dispatch_pending(display) >= 0;
}

std::optional<Connection::Fault> Connection::fault() const {
    if (wl_display_get_error(display_.get()) != EPROTO) return std::nullopt;
    const wl_interface* interface = nullptr;
    std::uint32_t object = 0;
    wl_display_get_protocol_error(display_.get(), &interface, &object);
    return Fault{interface ? interface->name : "", object};
}

}  // namespace dravo::wayland
