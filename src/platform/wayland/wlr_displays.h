#pragma once

#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "base/observable.h"
#include "display/display_identity.h"
#include "display/table_fade.h"
#include "platform/wayland/gamma_client.h"
#include "platform/wayland/wayland_module.h"

namespace dravo::wayland {

/// The displays of a compositor that gives each output's table to one client, reads nothing back, and restores its own
/// when that client lets go or is gone: nothing has to be saved, and nobody can write over ours.
///
/// Tables are taken with the first wish and given back when there is none. One that is refused is asked for again when
/// an output comes or goes, on wake, and with a person's next wish: once a second at most, and never by the clock. No
/// load leaves before the compositor has answered the one before.
///
/// While the compositor is gone, this waits for its return and shows the latest wish there; after two minutes, or when
/// the login is over, it is gone for good.
class WlrDisplays final : public CompositorDisplays {
public:
    WlrDisplays(std::unique_ptr<GammaClient> client, Scheduler& scheduler);
    ~WlrDisplays() override;

    void listen(DescriptorWatch& watch) override;

    std::string backend() const override { return "wlroots"; }
    DisplayTraits traits() const override { return {}; }
    Result<std::vector<DisplayDescription>> list() override;
    /// What was loaded last, where the table is ours; others cannot be read.
    std::vector<Result<GammaTable>> held(std::span<const DisplayId> displays) override;
    void show(const std::optional<GammaTable>& wish, Fade fade) override;
    void loadAgain() override;
    void look() override {}
    void forgetContents() override;
    Result<void> giveBack(GivingBack how) override;
    bool isFading() const override { return fade_ || fadeQuestion_; }
    void finishFade() override;
    Subscription onFadeEnd(std::function<void()> callback) override { return fadeEnds_.add(std::move(callback)); }
    Subscription onListChange(std::function<void()> callback) override { return listChanges_.add(std::move(callback)); }
    Subscription onLoadNeeded(std::function<void()> callback) override { return loadsNeeded_.add(std::move(callback)); }
    Subscription onLoss(std::function<void()> callback) override { return losses_.add(std::move(callback)); }

private:
    void serve();
    void waitUntilSettled();
    void react();
    void adoptOutputs();
    void tryRefusedAgain(Duration pause);
    [[nodiscard]] std::vector<DisplayDescription> rows() const;
    void tell();

    /// Ends what the wish so far has under way.
    void cutFade();
    void startFade();
    void showDueFrame();
    void endFade();
    void bringWish();
    void releaseAll();
    void send();

    void lose();
    void awaitReturn();
    void reconnect();
    void giveUp();

    Scheduler& scheduler_;
    DescriptorWatch* watch_ = nullptr;     ///< Null until there is a loop.
    std::unique_ptr<GammaClient> client_;  ///< Null while the compositor is gone.
    DisplayIdentities identities_;
    std::vector<DisplayId> ids_;  ///< Of the outputs that have said who they are, in their order.

    std::optional<GammaTable> wish_;
    bool isGivenBack_ = false;
    std::uint64_t loadQuestion_ = 0;             ///< Its answer comes behind the latest load.
    std::optional<std::uint64_t> fadeQuestion_;  ///< With its answer the tables for a fade have been handed out.
    std::optional<TableFade> fade_;
    Timer frameTimer_;
    Timer flushing_;

    bool mayTryAgain_ = false;
    std::optional<SteadyTime> lastTry_;
    Timer retry_;

    std::vector<DisplayDescription> absent_;  ///< The displays of a compositor that is gone for now.
    std::set<std::string> shunned_;
    std::optional<SteadyTime> greetedAt_;
    SteadyTime goneSince_{};
    int attempts_ = 0;
    Timer reconnection_;
    bool isGone_ = false;  ///< For good.

    std::vector<DisplayDescription> told_;
    bool needsLoad_ = false;
    bool wasFading_ = false;
    SubscriberList<> fadeEnds_;
    SubscriberList<> listChanges_;
    SubscriberList<> loadsNeeded_;
    SubscriberList<> losses_;
    Subscription readable_;
};

}  // namespace dravo::wayland
