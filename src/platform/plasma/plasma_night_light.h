#pragma once

#include <cstdint>
#include <optional>

#include "app/night_light.h"
#include "base/scheduler.h"
#include "platform/dbus/bus.h"
#include "platform/plasma/profile_desk.h"

namespace dravo::plasma {

/// Plasma's night light, held off while anything is filtered: nobody has to be told or asked, and the desktop lets it
/// go on by itself as soon as we let go or are gone. To a person who looks here there is therefore none.
///
/// Lifetime: what it is given outlives it. REQUIRES: the desk is open.
class PlasmaNightLight final : public NightLight {
public:
    PlasmaNightLight(dbus::Bus& sessionBus, Scheduler& scheduler, ProfileDesk& desk);

    State state() const override { return State::absent; }
    void pause() override {}
    void giveBack() override { holdOff(false); }
    void undoUncleanRun() override {}
    void takeOver() override {}
    Subscription onChange(std::function<void()>) override { return {}; }

private:
    void connect();
    void holdOff(bool isWanted);
    void ask();
    void letGo();

    dbus::Bus& bus_;
    ProfileDesk& desk_;
    bool isThere_ = false;
    bool isWanted_ = false;
    bool isAsked_ = false;                 ///< An answer is awaited.
    std::optional<std::uint32_t> cookie_;  ///< With which we let go of it.
    Timer start_;
    Subscription filterings_;
    Subscription name_;
    Subscription answer_;
};

}  // namespace dravo::plasma
