#pragma once

#include <unistd.h>

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "support/child_process.h"

namespace dravo::testing {

/// A real Wayland compositor of the family that tiles windows and has layers, on one output without hardware.
///
/// Faults of starting it throw, which fails the test.
class PrivateSway {
public:
    [[nodiscard]] static bool isInstalled() { return std::filesystem::exists("/usr/bin/sway"); }

    PrivateSway() {
        // It does not run for root; its sockets are for whoever finds them.
        std::filesystem::permissions(runtime_.path(), std::filesystem::perms::all);
        std::vector<std::string> words{"sh", "-c", "umask 0; exec sway -c /dev/null"};
        if (::geteuid() == 0)
            words.insert(words.begin(), {"setpriv", "--reuid=65534", "--regid=65534", "--clear-groups"});
        sway_.emplace("/usr/bin/env", ChildProcess::Options{.arguments = words, .environment = environment()});
        static_cast<void>(waitUntil([&] { return !address().empty() && !socket("sway-ipc").empty(); }));
    }

    /// For WAYLAND_DISPLAY; empty while it does not run.
    [[nodiscard]] std::string address() const { return socket("wayland-"); }

    /// What it answers to a command of `swaymsg`.
    [[nodiscard]] std::string ask(std::vector<std::string> words) const {
        words.insert(words.begin(), {"swaymsg", "--socket", socket("sway-ipc")});
        ChildProcess message("/usr/bin/env", {.arguments = words, .environment = environment()});
        static_cast<void>(message.waitForExit());
        return message.standardOutput();
    }

    void end() { sway_.reset(); }
    [[nodiscard]] std::string standardError() const { return sway_->standardError(); }

private:
    [[nodiscard]] std::map<std::string, std::string> environment() const {
        return {{"PATH", "/usr/bin:/bin"},    {"HOME", runtime_.path()},  {"XDG_RUNTIME_DIR", runtime_.path()},
                {"WLR_BACKENDS", "headless"}, {"WLR_RENDERER", "pixman"}, {"WLR_LIBINPUT_NO_DEVICES", "1"}};
    }
    [[nodiscard]] std::string socket(const std::string& name) const {
        for (const auto& entry : std::filesystem::directory_iterator(runtime_.path()))
            if (entry.is_socket() && entry.path().filename().string().starts_with(name)) return entry.path();
        return {};
    }

    TemporaryFolder runtime_;
    std::optional<ChildProcess> sway_;
};

}  // namespace dravo::testing
