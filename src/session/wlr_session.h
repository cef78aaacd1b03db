#pragma once

#include <memory>
#include <string>
#include <utility>

#include "platform/wayland/wayland_module.h"
#include "session/absent_ports.h"
#include "session/session.h"

namespace dravo {

/// A Wayland compositor that gives each display's table to one client and restores its own when that client goes: sway
/// and its family, by wlr-gamma-control. Nothing outlives us, and nobody can write over ours.
class WlrSession final : public Session {
public:
    /// REQUIRES: the compositor hands out tables.
    explicit WlrSession(std::unique_ptr<wayland::Compositor> compositor) : compositor_(std::move(compositor)) {}

    std::string backend() const override { return "wlroots"; }
    bool isExclusive() const override { return true; }
    LastWord& lastWord() override { return lastWord_; }
    Result<void> openDisplays(OriginalGammaStore& store, Scheduler& scheduler) override;
    Displays& displays() override { return *displays_; }
    LastingDisplays* lasting() override { return nullptr; }
    GrayscaleService& grayscale() override { return grayscale_; }
    bool isGuarded() const override { return true; }
    void listen(DescriptorWatch& watch, Scheduler&) override { displays_->listen(watch); }
    std::unique_ptr<HotKeyService> makeHotKeys(DescriptorWatch& watch, Scheduler& scheduler) override;

private:
    std::unique_ptr<wayland::Compositor> compositor_;
    std::unique_ptr<wayland::CompositorDisplays> displays_;
    NoLastWord lastWord_;
    NoGrayscale grayscale_;
};

}  // namespace dravo
