#pragma once

#include <memory>
#include <string>
#include <vector>

#include "app/hot_key_service.h"
#include "app/night_light.h"
#include "app/port_report.h"
#include "base/descriptor_watch.h"
#include "base/environment.h"
#include "base/result.h"
#include "base/scheduler.h"
#include "display/grayscale_service.h"
#include "display/last_word.h"
#include "display/lasting_displays.h"
#include "display/original_gamma_store.h"
#include "platform/dbus/bus.h"

namespace dravo {

/// What serves the ports that depend on the kind of session: the displays, what can still be said for them at a sudden
/// end, gray, and the shortcut. Nobody but this folder and the composition root names their adapters.
///
/// Thread: main thread, but for what `LastWord` says. Lifetime: outlives everything that it serves.
class Session {
public:
    /// Whether a sudden end has to be answered for: by a run that filters, not by a command that looks or restores.
    enum class Guarding { byLastWord, byCaller };

    /// Looks at the environment and, in a Wayland session only, at what its compositor offers. Tried in this order:
    ///  1. outside a Wayland session, X11 by RandR. Never inside one, whatever DISPLAY says: its X server takes tables
    ///     and does nothing with them.
    ///  2. a compositor that hands out its displays' tables by wlr-gamma-control.
    ///  3. GNOME, where its compositor is on the session bus.
    ///  4. none of these: a session whose displays cannot be filtered, where everything else works.
    /// REQUIRES with `byLastWord`: no other thread yet.
    [[nodiscard]] static std::unique_ptr<Session> choose(Guarding guarding, const Environment& environment);

    virtual ~Session() = default;
    Session(const Session&) = delete;
    Session& operator=(const Session&) = delete;

    /// Which kind this is, as `Displays::backend` says it.
    [[nodiscard]] virtual std::string backend() const = 0;

    /// Whether opening the displays takes them from whoever has them: a command then asks the running program instead
    /// of opening them itself.
    [[nodiscard]] virtual bool isExclusive() const = 0;

    /// For the guard, before the displays are opened. REQUIRES: `byLastWord`.
    [[nodiscard]] virtual LastWord& lastWord() = 0;

    /// Connects to the session's displays; the first call that succeeds counts. `store` is for those that outlive us.
    /// Errors: `Disconnected` (nobody answers), `Unsupported` (nothing here can be tinted; the message says why).
    virtual Result<void> openDisplays(OriginalGammaStore& store, Scheduler& scheduler) = 0;

    // REQUIRES for what follows: the displays are open.

    [[nodiscard]] virtual Displays& displays() = 0;
    /// The same displays where what they hold outlives us; null where the compositor gives them back by itself, or
    /// nothing is ever loaded. Without, nothing is saved, and nothing is left of a run that was cut off.
    [[nodiscard]] virtual LastingDisplays* lasting() = 0;
    [[nodiscard]] virtual GrayscaleService& grayscale() = 0;
    /// Whether `lastWord` could give the displays back, or nobody needs it to.
    [[nodiscard]] virtual bool isGuarded() const = 0;

    /// Starts to listen for what the displays' server tells.
    virtual void listen(DescriptorWatch& watch, Scheduler& scheduler) = 0;

    /// How the displays, each of them, and gray are served.
    [[nodiscard]] virtual std::vector<PortReport> report();

    /// Needs no displays.
    [[nodiscard]] virtual std::unique_ptr<HotKeyService> makeHotKeys(DescriptorWatch& watch, Scheduler& scheduler) = 0;

    /// The desktop's night light, over `sessionBus`. What it does is noted in `store`. Needs no displays.
    [[nodiscard]] virtual std::unique_ptr<NightLight> makeNightLight(dbus::Bus& sessionBus, Scheduler& scheduler,
                                                                     OriginalGammaStore& store);

    /// Whether a bar embeds windows as tray icons now: an X server's.
    [[nodiscard]] virtual bool embedsTrayIcons() { return false; }

    /// For a command: the same as `report`, from a look at displays that were not opened yet. Takes none from anybody.
    [[nodiscard]] std::vector<PortReport> look(OriginalGammaStore& store, Scheduler& scheduler);

protected:
    Session() = default;
};

}  // namespace dravo
