#pragma once

#include <optional>
#include <stdexcept>
#include <string>

#include "support/bus_client.h"
#include "support/child_process.h"
#include "support/private_bus.h"
#include "support/private_x_server.h"

namespace dravo::testing {

/// A real Mutter, GNOME's compositor, with a session bus of its own. It drives the displays of a private X server, so
/// that they can be watched and changed past it. Takes about a second to start.
///
/// It confirms a table before it has passed it on to the X server: expect it `soon`, or `flush`.
/// Lifetime: the server outlives it. Throws std::runtime_error with what it said when it does not start.
class PrivateMutter {
public:
    explicit PrivateMutter(const PrivateXServer& server) : display_(server.address()) { start(); }

    [[nodiscard]] PrivateBus& bus() { return bus_; }

    void start() {
        process_.emplace("/usr/bin/mutter",
                         ChildProcess::Options{.arguments = {"--x11"},
                                               .environment = {{"DISPLAY", display_},
                                                               {"DBUS_SESSION_BUS_ADDRESS", bus_.address()},
                                                               {"DBUS_SYSTEM_BUS_ADDRESS", "disabled:"},
                                                               {"GSETTINGS_BACKEND", "memory"},
                                                               {"NO_AT_BRIDGE", "1"},
                                                               {"HOME", folder_.path()},
                                                               {"XDG_RUNTIME_DIR", folder_.path()}}});
        BusClient client(bus_.address());
        if (!waitUntil([&] { return client.hasOwner(kName); }, kPatienceForAnEnd))
            throw std::runtime_error("Mutter did not start:\n" + process_->standardError());
        flush();
    }
    /// Ends it as a crash would.
    void kill() { process_->endBy(SIGKILL); }
    /// Stops it from answering, and lets it go on.
    void freeze() { process_->signal(SIGSTOP); }
    void thaw() { process_->signal(SIGCONT); }

    /// Asks for a table, which makes it pass on what it still holds. The serial of its resources.
    std::uint32_t flush() {
        BusClient client(bus_.address());
        const BusObject config{kName, "/org/gnome/Mutter/DisplayConfig"};
        const auto serial = client.call(config, kName, "GetResources").value<std::uint32_t>("u");
        client.call(config, kName, "GetCrtcGamma", "uu", serial, 0);
        return serial;
    }

private:
    static constexpr const char* kName = "org.gnome.Mutter.DisplayConfig";

    TemporaryFolder folder_;
    PrivateBus bus_;
    std::string display_;
    std::optional<ChildProcess> process_;
};

}  // namespace dravo::testing
