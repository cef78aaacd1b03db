#pragma once

#include <functional>

#include "base/probe.h"
#include "platform/dbus/bus.h"

namespace dravo::dbus {

/// Whether a bar of the desktop shows tray icons: one that registers as a StatusNotifierHost, or one that embeds
/// windows. For the examination; the icon finds its host by the toolkit.
///
/// Lifetime: the bus outlives it.
class TrayHost final : public Probed {
public:
    /// `embeds` tells whether a bar embeds windows as icons now.
    TrayHost(Bus& sessionBus, std::function<bool()> embeds) : bus_(sessionBus), embeds_(std::move(embeds)) {}

    Subscription probe(Found found) override;

private:
    Bus& bus_;
    std::function<bool()> embeds_;
};

}  // namespace dravo::dbus
