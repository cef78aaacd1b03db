#include "run/run_engine.h"

#include <cstdio>

#include "base/report.h"
#include "platform/dbus/desktop_notifications.h"
#include "platform/dbus/geoclue_location_service.h"
#include "platform/dbus/logind_wake_source.h"
#include "platform/posix/zone_position.h"

namespace dravo {

RunEngine::RunEngine(RunSession& session)
    : session_(session),
      calendar(&session.loop),
      sessionBus(session.loop, session.loop, dbus::Bus::Kind::session),
      systemBus(session.loop, session.loop, dbus::Bus::Kind::system),
      wakeSource(std::make_unique<dbus::LogindWakeSource>(systemBus, session.loop, session.loop)),
      locationService(std::make_unique<dbus::GeoclueLocationService>(systemBus, session.loop, "dravo")),
      notifications(std::make_unique<dbus::DesktopNotifications>(sessionBus, session.loop, session.loop)),
      zones(std::make_unique<posix::ZoneTablePosition>()),
      nightLight(session.session->makeNightLight(sessionBus, session.loop, session.originalGamma)),
      customPresets(session.folder.home),
      breakNotifier(*notifications),
      breakTimer(*session.preferences, breakNotifier, session.loop),
      locationProvider(session.loop, *session.preferences, *locationService, *zones, calendar),
      grayscale(session.session->grayscale(), session.originalGamma),
      applicator(session.session->displays(), *wakeSource, session.loop) {}

Result<void> RunEngine::launch() {
    session_.originalGamma.onUnsynced = [this](const std::filesystem::path& path) {
        session_.loop.post([this, path] { backgroundSync_.sync(path); });
    };
    session_.defaults->setMayWrite([this] { return !applicator.isRamping(); });
    const auto& inherited = session_.inherited;
    using Beginning = LastingDisplays::Beginning;
    LastingDisplays* const lasting = session_.session->lasting();
    const bool wasUnclean = lasting && lasting->begin(inherited ? Beginning::goingOn : Beginning::afresh);
    if (inherited && inherited->hasGrayOn) {
        grayscale.takeOver();
    } else {
        grayscale.undoUncleanRun();
    }
    inherited ? nightLight->takeOver() : nightLight->undoUncleanRun();
    if (wasUnclean && !inherited) {
        std::puts("Restored gamma from previous crash");
        std::fflush(stdout);
    }
    if (!session_.guard) return session_.guard.error();
    auto& guard = **session_.guard;
    guard.waitUntilReady();
    if (!session_.session->isGuarded()) reportOnce("unguarded", kUnguarded);
    filterState = std::make_unique<FilterState>(FilterStateParts{
        session_.loop, calendar, *session_.preferences, customPresets, breakTimer, locationProvider, applicator,
        grayscale, *wakeSource, inherited ? std::optional(inherited->state) : std::nullopt});
    guard.takeCharge();
    return {};
}

Result<void> RunEngine::restore() {
    filterState->turnOff();
    return applicator.resetAtOnce();
}

void RunEngine::giveBack() {
    if (filterState) filterState->saveNow();
    grayscale.shutDown();
    const auto given = applicator.shutDown();
    // Behind our tables, which it writes over as soon as it goes on.
    nightLight->giveBack();
    // Unconfirmed, the saved tables stay: the next start gives the displays back.
    if (given && !grayscale.isOurs() && session_.session->lasting()) session_.originalGamma.clear();
    session_.defaults->flush();
}

void RunEngine::save() {
    filterState->saveNow();
    session_.defaults->flush();
}

}  // namespace dravo
