#pragma once

#include <memory>
#include <optional>

#include "display/remembered_displays.h"
#include "platform/x11/x11_emergency_restore.h"
#include "platform/x11/x11_table_device.h"
#include "session/session.h"

namespace dravo {

/// X11, by RandR, on the server of $DISPLAY.
class X11Session final : public Session {
public:
    explicit X11Session(Guarding guarding);

    std::string backend() const override { return "x11"; }
    bool isExclusive() const override { return false; }
    LastWord& lastWord() override { return *emergency_; }
    Result<void> openDisplays(OriginalGammaStore& store, Scheduler& scheduler) override;
    Displays& displays() override { return *displays_; }
    LastingDisplays* lasting() override { return &*displays_; }
    GrayscaleService& grayscale() override { return device_->grayscale(); }
    bool isGuarded() const override { return device_->isGuarded(); }
    void listen(DescriptorWatch& watch, Scheduler& scheduler) override { device_->listen(watch, scheduler); }
    bool embedsTrayIcons() override;
    std::unique_ptr<HotKeyService> makeHotKeys(DescriptorWatch& watch, Scheduler& scheduler) override;

private:
    std::unique_ptr<x11::EmergencyRestore> emergency_;
    std::unique_ptr<x11::X11TableDevice> device_;
    std::optional<RememberedDisplays> displays_;
};

}  // namespace dravo
