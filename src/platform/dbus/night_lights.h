#pragma once

#include <functional>
#include <vector>

#include "base/probe.h"
#include "platform/dbus/bus.h"

namespace dravo::dbus {

/// The desktops' own services that tint the screen by the time of day: GNOME's and Plasma's.
///
/// Lifetime: the bus outlives it.
class NightLights {
public:
    using Found = std::function<void(const std::vector<Finding>&)>;

    explicit NightLights(Bus& sessionBus) : bus_(sessionBus) {}

    /// A finding for each that tints now; starts none. As `Probed::probe` otherwise.
    [[nodiscard]] Subscription probe(Found found);

private:
    Bus& bus_;
};

}  // namespace dravo::dbus
