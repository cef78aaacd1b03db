#include "session/gnome_session.h"

#include <utility>

#include "platform/gnome/gnome_night_light.h"

namespace dravo {

std::unique_ptr<GnomeSession> GnomeSession::find(Guarding guarding) {
    auto bus = gnome::MutterTableDevice::connect();
    return bus ? std::unique_ptr<GnomeSession>(new GnomeSession(guarding, std::move(*bus))) : nullptr;
}

GnomeSession::GnomeSession(Guarding guarding, std::unique_ptr<gnome::BusLink> bus) : bus_(std::move(bus)) {
    if (guarding == Guarding::byLastWord) lastWord_ = std::make_unique<gnome::MutterLastWord>();
}

Result<void> GnomeSession::openDisplays(OriginalGammaStore& store, Scheduler& scheduler) {
    if (displays_) return {};
    auto bus = bus_ ? Result<std::unique_ptr<gnome::BusLink>>(std::move(bus_)) : gnome::MutterTableDevice::connect();
    if (!bus) return bus.error();
    auto device = gnome::MutterTableDevice::create(std::move(*bus), lastWord_.get());
    if (!device) return device.error();
    device_ = std::move(*device);
    displays_.emplace(*device_, store, scheduler);
    return {};
}

std::unique_ptr<HotKeyService> GnomeSession::makeHotKeys(DescriptorWatch&, Scheduler&) {
    return std::make_unique<NoHotKeys>(kNoShortcut);
}

std::unique_ptr<NightLight> GnomeSession::makeNightLight(dbus::Bus& sessionBus, Scheduler& scheduler,
                                                         OriginalGammaStore& store) {
    return std::make_unique<gnome::GnomeNightLight>(sessionBus, scheduler, store, lastWord_.get());
}

}  // namespace dravo
