#pragma once

#include <memory>
#include <utility>

#include "platform/plasma/profile_desk.h"
#include "session/absent_ports.h"
#include "session/session.h"

namespace dravo {

/// Plasma 6 on Wayland: each display is drawn by a colour profile, and ours carries the table.
class PlasmaSession final : public Session {
public:
    /// None where the module is missing.
    [[nodiscard]] static std::unique_ptr<Session> create();

    std::string backend() const override { return "plasma"; }
    bool isExclusive() const override { return false; }
    LastWord& lastWord() override { return desk_->lastWord(); }
    Result<void> openDisplays(OriginalGammaStore& store, Scheduler& scheduler) override {
        return desk_->open(store, scheduler);
    }
    Displays& displays() override { return desk_->displays(); }
    LastingDisplays* lasting() override { return &desk_->displays(); }
    GrayscaleService& grayscale() override { return grayscale_; }
    bool isGuarded() const override { return true; }
    void listen(DescriptorWatch& watch, Scheduler&) override { desk_->listen(watch); }
    std::unique_ptr<HotKeyService> makeHotKeys(DescriptorWatch& watch, Scheduler& scheduler) override;
    std::unique_ptr<NightLight> makeNightLight(dbus::Bus& sessionBus, Scheduler& scheduler,
                                               OriginalGammaStore& store) override;

private:
    explicit PlasmaSession(std::unique_ptr<plasma::ProfileDesk> desk) : desk_(std::move(desk)) {}

    std::unique_ptr<plasma::ProfileDesk> desk_;
    NoGrayscale grayscale_;
};

}  // namespace dravo
