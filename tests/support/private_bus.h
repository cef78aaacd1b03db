#pragma once

#include <fstream>
#include <string>

#include "support/child_process.h"

namespace dravo::testing {

/// A message bus of the test's own: nothing on it but what the test puts there, and no service starts by itself.
class PrivateBus {
public:
    /// For DBUS_SESSION_BUS_ADDRESS, or DBUS_SYSTEM_BUS_ADDRESS where a test plays the system's services.
    [[nodiscard]] const std::string& address() const { return address_; }

    /// Ends the bus as a crash would.
    void kill() { process_.endBy(SIGKILL); }

private:
    [[nodiscard]] std::string configuration() const {
        const auto file = folder_ / "bus.conf";
        std::ofstream(file) << "<busconfig><type>session</type><listen>unix:dir=" << folder_.path().string()
                            << "</listen><auth>EXTERNAL</auth><policy context=\"default\">"
                               "<allow send_destination=\"*\"/><allow receive_sender=\"*\"/>"
                               "<allow own=\"*\"/><allow user=\"*\"/></policy></busconfig>\n";
        return file;
    }

    TemporaryFolder folder_;
    ChildProcess process_{
        "/usr/bin/dbus-daemon",
        {.arguments = {"--nofork", "--nosyslog", "--print-address", "--config-file=" + configuration()}}};
    std::string address_ = process_.announced();
};

}  // namespace dravo::testing
