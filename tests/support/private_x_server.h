#pragma once

#include <string>

#include "support/child_process.h"
#include "support/x_gamma.h"

namespace dravo::testing {

/// A real X server of the test's own: Xorg with the dummy driver, which keeps the tables of 16 outputs and touches
/// nothing of this machine. Takes about 0.1 s to start; gone when this is destroyed.
///
/// The first `displays` outputs (DUMMY0, DUMMY1, ...) are on, side by side, with neutral tables.
class PrivateXServer {
public:
    explicit PrivateXServer(std::size_t displays = 3) { displays_.arrange(displays); }
    ~PrivateXServer() {
        thaw();
        process_.endBy(SIGTERM);  // asked to end, it takes its socket and lock file along
    }

    /// Its address for the DISPLAY variable, e.g. ":7".
    [[nodiscard]] const std::string& address() const { return address_; }
    /// The server's displays, seen and changed from outside the program under test.
    [[nodiscard]] XGamma& displays() { return displays_; }

    /// Kills the server as a crash would. `displays()` is dead from here on.
    void kill() {
        process_.endBy(SIGKILL);
        // A killed server cannot remove these, and the next one would wait for their owner.
        std::filesystem::remove("/tmp/.X11-unix/X" + address_.substr(1));
        std::filesystem::remove("/tmp/.X" + address_.substr(1) + "-lock");
    }
    /// Stops the server from answering, and lets it go on.
    void freeze() { process_.signal(SIGSTOP); }
    void thaw() { process_.signal(SIGCONT); }

private:
    // The server itself: the Xorg in the path is often a wrapper that refuses ordinary users.
    [[nodiscard]] static std::filesystem::path program() {
        for (const char* place : {"/usr/lib/xorg/Xorg", "/usr/libexec/Xorg", "/usr/lib/Xorg"})
            if (std::filesystem::exists(place)) return place;
        return "/usr/bin/Xorg";
    }

    TemporaryFolder folder_;
    ChildProcess process_{program(),
                          {.arguments = {"-displayfd", "1", "-config", DRAVO_X_SERVER_CONFIG, "-noreset", "-nolisten",
                                         "tcp", "-logfile", folder_ / "log"},
                           .environment = {{"HOME", folder_.path()}},
                           .signalAtOurDeath = SIGTERM}};
    std::string address_ = ":" + process_.announced();
    XGamma displays_{address_};
};

}  // namespace dravo::testing
