#pragma once

#include <cstddef>
#include <memory>
#include <optional>
#include <string>

#include "support/announced_line.h"
#include "support/child_process.h"
#include "support/x_gamma.h"

namespace dravo::testing {

/// A real X server of the test's own: Xorg with the dummy driver, which keeps the tables of 16 outputs and touches
/// nothing of this machine. Takes about 0.1 s to start; gone when this is destroyed.
///
/// The first `displays` outputs (DUMMY0, DUMMY1, ...) are on, side by side, with neutral tables.
class PrivateXServer {
public:
    /// Throws std::runtime_error with what the server said when it does not start.
    explicit PrivateXServer(std::size_t displays = 3);
    ~PrivateXServer();

    /// Whether the server and its driver are on this machine.
    [[nodiscard]] static bool isInstalled();

    /// Its address for the DISPLAY variable, e.g. ":7".
    [[nodiscard]] const std::string& address() const { return address_; }

    /// The server's displays, seen and changed from outside the program under test.
    [[nodiscard]] XGamma& displays() { return *displays_; }

    /// Kills the server as a crash would. `displays()` is dead from here on.
    void kill();

    /// Stops the server from answering, and lets it go on.
    void freeze();
    void thaw();

private:
    TemporaryFolder folder_;
    AnnouncedLine number_;
    std::optional<ChildProcess> process_;
    std::string address_;
    std::unique_ptr<XGamma> displays_;
};

}  // namespace dravo::testing
