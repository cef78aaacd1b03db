#pragma once

#include "session/absent_ports.h"
#include "session/session.h"

namespace dravo {

/// A desktop that shows windows and lets nobody tint what is on screen. The panel, the schedule, breaks and the command
/// line work as anywhere, and whoever looks for the displays finds the reason.
class NoDisplaysSession final : public Session {
public:
    explicit NoDisplaysSession(TextKey why) : displays_(why) {}

    std::string backend() const override { return "wayland"; }
    bool isExclusive() const override { return false; }
    LastWord& lastWord() override { return lastWord_; }
    Result<void> openDisplays(OriginalGammaStore&, Scheduler&) override { return {}; }
    Displays& displays() override { return displays_; }
    LastingDisplays* lasting() override { return nullptr; }
    GrayscaleService& grayscale() override { return grayscale_; }
    bool isGuarded() const override { return true; }
    void listen(DescriptorWatch&, Scheduler&) override {}
    std::vector<PortReport> report() override;
    std::unique_ptr<HotKeyService> makeHotKeys(DescriptorWatch& watch, Scheduler& scheduler) override;

private:
    /// Takes every wish and shows none.
    class NoDisplays final : public Displays {
    public:
        explicit NoDisplays(TextKey reason) : why(reason) {}

        const TextKey why;

        std::string backend() const override { return "wayland"; }
        DisplayTraits traits() const override { return {}; }
        /// One row that stands for all of them.
        Result<std::vector<DisplayDescription>> list() override;
        std::vector<Result<GammaTable>> held(std::span<const DisplayId> displays) override;
        void show(const std::optional<GammaTable>&, Fade) override {}
        void loadAgain() override {}
        void look() override {}
        void forgetContents() override {}
        Result<void> giveBack(GivingBack) override { return {}; }
        bool isFading() const override { return false; }
        void finishFade() override {}
        Subscription onFadeEnd(std::function<void()>) override { return {}; }
        Subscription onListChange(std::function<void()>) override { return {}; }
        Subscription onLoadNeeded(std::function<void()>) override { return {}; }
        Subscription onLoss(std::function<void()>) override { return {}; }
    };

    NoLastWord lastWord_;
    NoDisplays displays_;
    NoGrayscale grayscale_;
};

}  // namespace dravo
