#pragma once

#include <memory>
#include <optional>

#include "display/remembered_displays.h"
#include "platform/gnome/mutter_last_word.h"
#include "platform/gnome/mutter_table_device.h"
#include "session/absent_ports.h"
#include "session/session.h"

namespace dravo {

/// GNOME on Wayland, by the display configuration that its compositor offers on the session bus.
class GnomeSession final : public Session {
public:
    /// Null where nobody on the session bus offers it.
    [[nodiscard]] static std::unique_ptr<GnomeSession> find(Guarding guarding);

    std::string backend() const override { return "gnome"; }
    bool isExclusive() const override { return false; }
    LastWord& lastWord() override { return *lastWord_; }
    Result<void> openDisplays(OriginalGammaStore& store, Scheduler& scheduler) override;
    Displays& displays() override { return *displays_; }
    LastingDisplays* lasting() override { return &*displays_; }
    GrayscaleService& grayscale() override { return grayscale_; }
    bool isGuarded() const override { return device_->isGuarded(); }
    void listen(DescriptorWatch& watch, Scheduler& scheduler) override { device_->listen(watch, scheduler); }
    std::unique_ptr<HotKeyService> makeHotKeys(DescriptorWatch& watch, Scheduler& scheduler) override;
    std::unique_ptr<NightLight> makeNightLight(dbus::Bus& sessionBus, Scheduler& scheduler,
                                               OriginalGammaStore& store) override;

private:
    GnomeSession(Guarding guarding, std::unique_ptr<gnome::BusLink> bus);

    std::unique_ptr<gnome::BusLink> bus_;  ///< Until the displays are open.
    std::unique_ptr<gnome::MutterLastWord> lastWord_;
    std::unique_ptr<gnome::MutterTableDevice> device_;
    std::optional<RememberedDisplays> displays_;
    NoGrayscale grayscale_;
};

}  // namespace dravo
