#pragma once

#include <gtest/gtest.h>

#include <functional>
#include <string_view>
#include <vector>

#include "platform/dbus/bus.h"
#include "support/bus_client.h"
#include "support/environment_variable.h"
#include "support/private_bus.h"
#include "support/run_until.h"

namespace dravo::dbus::testing {

/// A private bus that plays both the session's and the system's, and a real loop.
class BusTest : public ::testing::Test {
protected:
    bool runUntil(const std::function<bool()>& condition,
                  std::chrono::milliseconds patience = dravo::testing::kPatience) {
        return dravo::testing::runUntil(loop, condition, patience);
    }
    /// Runs the loop until everything sent so far has been answered: the bus delivers in order, both ways, so three
    /// round trips are enough for a question, its answer and what follows from it.
    void settle(Bus& bus) {
        for (int round = 0; round < 3; ++round) {
            bool isBack = false;
            auto ping = bus.newCall("org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus", "GetId");
            const auto answer =
                bus.call(std::move(ping), dravo::testing::kPatience, [&](const auto&) { isBack = true; });
            runUntil([&] { return isBack; });
        }
    }

    dravo::testing::PrivateBus daemon;
    dravo::testing::EnvironmentVariable sessionBus{"DBUS_SESSION_BUS_ADDRESS", daemon.address()};
    dravo::testing::EnvironmentVariable systemBus{"DBUS_SYSTEM_BUS_ADDRESS", daemon.address()};
    posix::SdEventLoop loop;
};

/// Somebody else on the bus who plays a service: owns a name for as long as it lives, and answers method calls, to
/// whatever object, as the test says.
class BusPeer : public dravo::testing::BusClient {
public:
    /// Answers a call of `member`; what it leaves unanswered (false) gets the error for unknown methods.
    using Answerer = std::function<bool(std::string_view member, sd_bus_message* call)>;

    BusPeer(posix::SdEventLoop& loop, const std::string& address, const char* name, Answerer answerer)
        : BusClient(address), answerer_(std::move(answerer)) {
        if (sd_bus_add_filter(bus(), nullptr, onMessage, this) < 0 || sd_bus_request_name(bus(), name, 0) < 0 ||
            sd_bus_attach_event(bus(), loop.event(), SD_EVENT_PRIORITY_NORMAL) < 0)
            throw std::runtime_error("a peer cannot play its part");
    }

    /// The members called so far, in order.
    std::vector<std::string> calls;

private:
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

    Answerer answerer_;
};

}  // namespace dravo::dbus::testing
