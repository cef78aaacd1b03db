#pragma once

#include <functional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "platform/systemd/systemd.h"

namespace dravo::dbus::testing {

/// Somebody else on the bus who plays a service: owns a name for as long as it lives, and answers method calls, to
/// whatever object, as the test says.
class BusPeer {
public:
    /// Answers a call of `member`; what it leaves unanswered (false) gets the error for unknown methods.
    using Answerer = std::function<bool(std::string_view member, sd_bus_message* call)>;

    BusPeer(sd_event* loop, const std::string& address, const char* name, Answerer answerer)
        : answerer_(std::move(answerer)) {
        require(sd_bus_new(&bus_));
        require(sd_bus_set_address(bus_, address.c_str()));
        require(sd_bus_set_bus_client(bus_, 1));
        require(sd_bus_start(bus_));
        require(sd_bus_add_filter(bus_, nullptr, onMessage, this));
        require(sd_bus_request_name(bus_, name, 0));
        require(sd_bus_attach_event(bus_, loop, SD_EVENT_PRIORITY_NORMAL));
    }
    ~BusPeer() { sd_bus_flush_close_unref(bus_); }
    BusPeer(const BusPeer&) = delete;
    BusPeer& operator=(const BusPeer&) = delete;

    [[nodiscard]] sd_bus* bus() const { return bus_; }

    /// The members called so far, in order.
    std::vector<std::string> calls;

private:
    static void require(int result) {
        if (result < 0) throw std::runtime_error("a peer cannot reach the private bus");
    }
    static int onMessage(sd_bus_message* message, void* self, sd_bus_error*) {
        std::uint8_t type = 0;
        sd_bus_message_get_type(message, &type);
        const char* interface = sd_bus_message_get_interface(message);
        if (type != SD_BUS_MESSAGE_METHOD_CALL ||
            (interface && std::string_view(interface) == "org.freedesktop.DBus.Peer"))
            return 0;
        auto& peer = *static_cast<BusPeer*>(self);
        peer.calls.emplace_back(sd_bus_message_get_member(message));
        return peer.answerer_(peer.calls.back(), message) ? 1 : 0;
    }

    sd_bus* bus_ = nullptr;
    Answerer answerer_;
};

}  // namespace dravo::dbus::testing
