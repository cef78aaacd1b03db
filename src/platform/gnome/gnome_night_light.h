#pragma once

#include "app/night_light.h"
#include "base/observable.h"
#include "base/scheduler.h"
#include "display/original_gamma_store.h"
#include "platform/dbus/bus.h"
#include "platform/gnome/mutter_last_word.h"

namespace dravo::gnome {

/// GNOME's Night Light, by its settings daemon on the session bus, on Wayland and on X11.
///
/// Connects in the loop. A daemon that restarts is asked anew.
/// Lifetime: what it is given outlives it.
class GnomeNightLight final : public NightLight {
public:
    /// `lastWord`, where there is one, also gives back at a sudden end what is paused.
    GnomeNightLight(dbus::Bus& sessionBus, Scheduler& scheduler, OriginalGammaStore& store, MutterLastWord* lastWord);

    State state() const override;
    void pause() override;
    void giveBack() override;
    void undoUncleanRun() override { owesIt_ = store_.mayHaveLeftNightLightOff(); }
    void takeOver() override { setOurs(store_.mayHaveLeftNightLightOff()); }
    Subscription onChange(std::function<void()> callback) override { return changes_.add(std::move(callback)); }

private:
    /// What the daemon says of itself.
    struct Told {
        bool isThere = false;
        bool isActive = false;
        bool isDisabledUntilTomorrow = false;
    };

    void connect();
    void ask();
    void read(sd_bus_message* properties, Told& told) const;
    void take(const Told& told);
    void setOurs(bool isOurs);

    dbus::Bus& bus_;
    OriginalGammaStore& store_;
    MutterLastWord* lastWord_;
    Told told_;
    bool isOurs_ = false;  ///< It is off until tomorrow because of us.
    bool owesIt_ = false;  ///< An earlier run has left it off.
    SubscriberList<> changes_;
    Timer start_;
    Subscription name_;
    Subscription signals_;
    Subscription answer_;
    Subscription confirmation_;
};

/// For a command, which has no loop: lets Night Light go on that an earlier run has paused, if `store` says so. Waits
/// for two seconds at most.
void undoPausedNightLight(OriginalGammaStore& store);

}  // namespace dravo::gnome
