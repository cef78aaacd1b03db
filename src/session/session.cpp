#include "session/session.h"

#include "platform/dbus/portal_hot_key_service.h"
#include "session/absent_ports.h"
#include "session/no_displays_session.h"
#include "session/wayland_socket.h"
#include "session/wlr_session.h"
#include "session/x11_session.h"

namespace dravo {

std::unique_ptr<Session> Session::choose(Guarding guarding, const Environment& environment) {
    if (!isWaylandSession(environment)) return std::make_unique<X11Session>(guarding);
    if (auto session = WlrSession::find()) return session;
    return std::make_unique<NoDisplaysSession>();
}

std::unique_ptr<HotKeyService> Session::makeHotKeys(DescriptorWatch&, Scheduler& scheduler, dbus::Bus& sessionBus) {
    return std::make_unique<dbus::PortalHotKeyService>(sessionBus, scheduler, "dravo", "dravo toggle");
}

std::vector<PortReport> Session::report() {
    std::vector<PortReport> rows{{kDisplaysPort, {}, {backend()}}};
    const auto list = displays().list();
    if (!list) {
        rows.front().finding = {{}, Sentence{textKey("the display server is gone")}};
        return rows;
    }
    for (const auto& display : *list) rows.push_back({kDisplayPort, display.name, {backend(), display.problem}});
    rows.push_back({kGrayscalePort, {}, {backend()}});
    if (!grayscale().isEnabled()) rows.back().finding = {{}, Sentence{kNoGrayscaleMode}};
    return rows;
}

std::vector<PortReport> Session::look(OriginalGammaStore& store, Scheduler& scheduler) {
    if (isExclusive()) {
        constexpr TextKey kStart = textKey(
            "Start Dravo: only the program that filters the displays can tell of each, as a look would take them from "
            "it");
        return {{kDisplaysPort, {}, {backend(), {}, Sentence{kStart}}}};
    }
    if (const auto opened = openDisplays(store, scheduler); !opened) {
        constexpr TextKey kStart = textKey("Start it inside your desktop's session");
        Finding finding = findingOf(opened.error());
        finding.remedy = Sentence{kStart};
        return {{kDisplaysPort, {}, finding}};
    }
    if (auto* const kept = lasting()) kept->begin(LastingDisplays::Beginning::looking);
    return report();
}

}  // namespace dravo
