#include "support/wayland_server.h"

#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <stdexcept>

namespace dravo::testing {
namespace {

int listenAt(const std::string& path) {
    sockaddr_un address{.sun_family = AF_UNIX, .sun_path = {}};
    path.copy(address.sun_path, sizeof address.sun_path - 1);
    const int descriptor = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (::bind(descriptor, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0 ||
        ::listen(descriptor, 128) != 0)
        throw std::runtime_error("no socket at " + path);
    return descriptor;
}

}  // namespace

WaylandServer::~WaylandServer() { ::close(wakeUp_); }

void WaylandServer::start() {
    if (!thread_.joinable()) thread_ = std::thread([this] { loop(); });
    run([this] { listen(); });
}

void WaylandServer::die() {
    run([this] { close(); });
}

void WaylandServer::end() {
    isFrozen_ = false;
    run([this] {
        close();
        isEnding_ = true;
    });
    thread_.join();
}

void WaylandServer::freeze() {
    run([this] { isFrozen_ = true; });
}

void WaylandServer::listen() {
    wl_log_set_handler_server([](const char*, va_list) {});
    display_ = wl_display_create();
    wl_display_add_socket_fd(display_, listenAt(address()));
    const auto nothing = [](int, std::uint32_t, void*) { return 0; };
    asking_ = wl_event_loop_add_fd(wl_display_get_event_loop(display_), wakeUp_, WL_EVENT_READABLE, nothing, nullptr);
    open(display_);
}

void WaylandServer::close() {
    if (!display_) return;
    wl_display_destroy_clients(display_);
    wl_event_source_remove(asking_);
    wl_display_destroy(display_);
    display_ = nullptr;
    ::unlink(address().c_str());
    closed();
}

void WaylandServer::loop() {
    while (!isEnding_) {
        pollfd asked{wakeUp_, POLLIN, 0};
        display_ ? wl_event_loop_dispatch(wl_display_get_event_loop(display_), -1) : ::poll(&asked, 1, -1);
        std::this_thread::sleep_for(delay_.load());
        eventfd_t count = 0;
        ::eventfd_read(wakeUp_, &count);
        std::vector<std::function<void()>> due;
        {
            const std::lock_guard lock(mutex_);
            due.swap(tasks_);
        }
        for (auto& task : due) task();
        while (isFrozen_) std::this_thread::sleep_for(std::chrono::milliseconds(1));
        if (display_) wl_display_flush_clients(display_);
    }
}

}  // namespace dravo::testing
