#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "base/descriptor_watch.h"
#include "base/result.h"
#include "base/scheduler.h"
#include "display/displays.h"

namespace dravo::wayland {

/// The displays of a compositor that hands out their tables. All of them live in the module.
class CompositorDisplays : public Displays {
public:
    /// Serves the compositor's connection from the loop. Before this, what has to be known is waited for where it is
    /// asked for: two seconds at most.
    virtual void listen(DescriptorWatch& watch) = 0;
};

/// A compositor that has been asked what it offers.
///
/// Thread: main thread.
class Compositor {
public:
    virtual ~Compositor() = default;

    /// The version in which it offers a global of this interface; 0: it does not.
    [[nodiscard]] virtual std::uint32_t versionOf(std::string_view interface) const = 0;

    /// Whether clients may load tables into its outputs (zwlr_gamma_control_manager_v1).
    [[nodiscard]] virtual bool handsOutTables() const = 0;

    /// Its displays, on the same connection. Nothing is taken from anybody before the first wish.
    /// REQUIRES: `handsOutTables`, and the first call. Lifetime: `scheduler` outlives the displays.
    [[nodiscard]] virtual std::unique_ptr<CompositorDisplays> takeDisplays(Scheduler& scheduler) = 0;
};

/// Loads the module with what only a Wayland session needs, connects as libwayland does (WAYLAND_SOCKET,
/// WAYLAND_DISPLAY), and asks what is offered: one round trip, for two seconds at most.
///
/// Errors: `NotFound` (no such module, or one that does not load), `Unsupported` (it belongs to another version),
/// `Disconnected` (no compositor, or none that answers).
[[nodiscard]] Result<std::unique_ptr<Compositor>> askCompositor(const std::string& version);

/// The module's only entry: as `askCompositor` without the loading. Whoever calls it owns the result.
using WaylandModuleEntry = Result<std::unique_ptr<Compositor>>* (*)(const char* version);
inline constexpr const char* kWaylandModuleEntry = "dravoWayland";

}  // namespace dravo::wayland
