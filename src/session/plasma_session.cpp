#include "session/plasma_session.h"

#include "base/data_folder.h"
#include "base/report.h"
#include "platform/plasma/plasma_night_light.h"

namespace dravo {

std::unique_ptr<Session> PlasmaSession::create() {
    auto desk = plasma::makeProfileDesk(DRAVO_VERSION, DataFolder::ofThisUser());
    if (desk) return std::unique_ptr<Session>(new PlasmaSession(std::move(*desk)));
    reportOnce("wayland", desk.error().message);
    return nullptr;
}

std::unique_ptr<HotKeyService> PlasmaSession::makeHotKeys(DescriptorWatch&, Scheduler&) {
    return std::make_unique<NoHotKeys>(kNoShortcut);
}

std::unique_ptr<NightLight> PlasmaSession::makeNightLight(dbus::Bus& sessionBus, Scheduler& scheduler,
                                                          OriginalGammaStore&) {
    return std::make_unique<plasma::PlasmaNightLight>(sessionBus, scheduler, *desk_);
}

}  // namespace dravo
