#pragma once

#include <memory>
#include <optional>

#include "app/night_light.h"
#include "base/result.h"
#include "breaks/break_notifier.h"
#include "breaks/break_timer.h"
#include "controller/filter_state.h"
#include "display/gamma_applicator.h"
#include "display/grayscale_switch.h"
#include "filter/custom_preset_store.h"
#include "platform/dbus/bus.h"
#include "platform/posix/background_sync.h"
#include "platform/posix/system_calendar.h"
#include "run/run_session.h"
#include "schedule/location_provider.h"

namespace dravo {

/// The second of a run's three steps: the controller, and what it decides by. Part of the composition root.
///
/// Nothing here waits for a disk, a bus or a toolkit: services connect from the loop.
class RunEngine {
public:
    /// Builds it. REQUIRES: the session is open.
    explicit RunEngine(RunSession& session);
    RunEngine(const RunEngine&) = delete;
    RunEngine& operator=(const RunEngine&) = delete;

    /// Finds out what an earlier run left, and puts the first table on screen.
    /// Errors: why there is no guard; nothing is then written but the displays' own tables.
    [[nodiscard]] Result<void> launch();

    /// Switches off without a fade. Errors: what the display server refused; the filter is off all the same.
    [[nodiscard]] Result<void> restore();

    /// The end: saves what is to be saved, gives the displays back for good and, once that is confirmed, forgets their
    /// tables.
    void giveBack();

    /// Saves the controller's state and the preferences now.
    void save();

private:
    RunSession& session_;
    posix::BackgroundSync backgroundSync_;

public:
    // In the order of building: what is declared later uses what stands above.
    posix::SystemCalendar calendar;
    dbus::Bus sessionBus;
    dbus::Bus systemBus;
    std::unique_ptr<WakeSource> wakeSource;
    std::unique_ptr<LocationService> locationService;
    std::unique_ptr<NotificationService> notifications;
    std::unique_ptr<ZonePositionSource> zones;
    std::unique_ptr<NightLight> nightLight;
    CustomPresetStore customPresets;
    BreakNotifier breakNotifier;
    BreakTimer breakTimer;
    LocationProvider locationProvider;
    GrayscaleSwitch grayscale;
    GammaApplicator applicator;
    std::unique_ptr<FilterState> filterState;  ///< Once launched.
};

}  // namespace dravo
