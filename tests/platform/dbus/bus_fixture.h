#pragma once

#include <gtest/gtest.h>

#include <cstdlib>
#include <functional>

#include "platform/dbus/bus.h"
#include "platform/posix/sd_event_loop.h"
#include "support/private_bus.h"
#include "support/wait_until.h"

namespace dravo::dbus::testing {

/// A private bus that plays both the session's and the system's, and a real loop. Skipped where no bus is installed,
/// unless DRAVO_REQUIRE_DESKTOP is set: then the missing bus is the fault.
class BusTest : public ::testing::Test {
protected:
    void SetUp() override {
        if (dravo::testing::PrivateBus::isInstalled()) {
            daemon = std::make_unique<dravo::testing::PrivateBus>();
            ::setenv("DBUS_SESSION_BUS_ADDRESS", daemon->address().c_str(), 1);
            ::setenv("DBUS_SYSTEM_BUS_ADDRESS", daemon->address().c_str(), 1);
            return;
        }
        if (std::getenv("DRAVO_REQUIRE_DESKTOP")) FAIL() << "dbus-daemon is not installed";
        GTEST_SKIP() << "dbus-daemon is not installed";
    }

    /// Runs the loop until `condition` holds or patience is over; returns whether it held.
    bool runUntil(const std::function<bool()>& condition,
                  std::chrono::milliseconds patience = dravo::testing::kPatience) {
        const auto deadline = std::chrono::steady_clock::now() + patience;
        while (!condition() && std::chrono::steady_clock::now() < deadline) sd_event_run(loop.event(), 2'000);
        return condition();
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

    std::unique_ptr<dravo::testing::PrivateBus> daemon;
    posix::SdEventLoop loop;
};

}  // namespace dravo::dbus::testing
