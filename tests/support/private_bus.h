#pragma once

#include <string>

#include "support/announced_line.h"
#include "support/child_process.h"

namespace dravo::testing {

/// A message bus of the test's own: nothing on it but what the test puts there, and no service starts by itself.
class PrivateBus {
public:
    /// Throws std::runtime_error with what the bus said when it does not start.
    PrivateBus();

    [[nodiscard]] static bool isInstalled();

    /// For DBUS_SESSION_BUS_ADDRESS, or DBUS_SYSTEM_BUS_ADDRESS where a test plays the system's services.
    [[nodiscard]] const std::string& address() const { return address_; }

    /// Ends the bus as a crash would.
    void kill();

private:
    TemporaryFolder folder_;
    AnnouncedLine announced_;
    std::optional<ChildProcess> process_;
    std::string address_;
};

}  // namespace dravo::testing
