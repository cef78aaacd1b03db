#include "session/session.h"

#include "base/report.h"
#include "platform/gnome/gnome_night_light.h"
#include "platform/plasma/profile_desk.h"
#include "platform/wayland/wayland_module.h"
#include "session/absent_ports.h"
#include "session/gnome_session.h"
#include "session/no_displays_session.h"
#include "session/plasma_session.h"
#include "session/wayland_socket.h"
#include "session/wlr_session.h"
#include "session/x11_session.h"

namespace dravo {
namespace {

constexpr TextKey kNoWay = textKey("this Wayland session offers no way to tint the screen");
constexpr TextKey kPlasmaIsTooOld = textKey("Plasma lets a program tint the screen from version 6.0 on");

}  // namespace

std::unique_ptr<Session> Session::choose(Guarding guarding, const Environment& environment) {
    if (!isWaylandSession(environment)) return std::make_unique<X11Session>(guarding);
    auto compositor = wayland::askCompositor(DRAVO_VERSION);
    // A compositor that does not answer is told of by whoever needs it.
    if (!compositor && compositor.error().code != ErrorCode::Disconnected)
        reportOnce("wayland", compositor.error().message);
    if (compositor && (*compositor)->handsOutTables()) return std::make_unique<WlrSession>(std::move(*compositor));
    const std::uint32_t management = compositor ? (*compositor)->versionOf(plasma::kOutputManagement) : 0;
    // Whose compositor has said that it is Plasma's needs no question to the bus.
    if (management == 0)
        if (auto gnome = GnomeSession::find(guarding)) return gnome;
    if (management >= plasma::kFirstWithProfiles)
        if (auto session = PlasmaSession::create()) return session;
    return std::make_unique<NoDisplaysSession>(management > 0 ? kPlasmaIsTooOld : kNoWay);
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

// GNOME's is there on X11, too.
std::unique_ptr<NightLight> Session::makeNightLight(dbus::Bus& sessionBus, Scheduler& scheduler,
                                                    OriginalGammaStore& store) {
    return std::make_unique<gnome::GnomeNightLight>(sessionBus, scheduler, store, nullptr);
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
