#pragma once

#include <functional>

#include "app/examination.h"
#include "base/probe.h"
#include "platform/dbus/bus.h"
#include "platform/dbus/night_lights.h"
#include "platform/dbus/tray_host.h"
#include "session/session.h"

namespace dravo {

/// The examination of a desktop: what each port says of itself, and who else changes the colours of the screen.
///
/// Thread: main thread. Lifetime: what it is given outlives it.
class DesktopExamination {
public:
    /// What answers for itself.
    struct Ports {
        Probed& shortcut;
        Probed& appearance;
        Probed& notifications;
        Probed& location;
        Probed& wake;
        Probed& login;
        Probed& control;
        Probed& updates;
        std::function<Finding()> panel;
    };

    /// `lookAtDisplays` gives the rows of `Session::report`.
    DesktopExamination(std::function<Examination::Reports()> lookAtDisplays, const Ports& ports, Session& session,
                       dbus::Bus& sessionBus, Scheduler& scheduler);

    [[nodiscard]] const Examination& examination() const { return examination_; }

private:
    [[nodiscard]] Subscription askForNightLights(Examination::Told told);

    dbus::TrayHost trayHost_;
    dbus::NightLights nightLights_;
    Examination examination_;
};

}  // namespace dravo
