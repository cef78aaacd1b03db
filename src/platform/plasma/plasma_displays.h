#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "base/descriptor_watch.h"
#include "base/observable.h"
#include "base/scheduler.h"
#include "display/display_identity.h"
#include "display/lasting_displays.h"
#include "display/original_gamma_store.h"
#include "platform/plasma/output_client.h"
#include "platform/plasma/profile_files.h"
#include "platform/plasma/profile_last_word.h"

namespace dravo::plasma {

/// The displays of a Plasma session, which has no transfer tables for its clients: a table goes into a profile made
/// from the person's own, and the compositor is told to draw by that.
///
/// The compositor stores what it is told, also beyond its own end, so that the person's profile is saved before the
/// first change and put back at the end. What a display follows shows whose it is: as long as that is no file of ours,
/// it is the person's, whatever anybody saved earlier.
///
/// A change takes the compositor as long as it takes: the next one is sent when it has answered, with the latest wish.
/// There are no fades. While the compositor is gone this waits for its return; after two minutes it is gone for good.
class PlasmaDisplays final : public LastingDisplays {
public:
    /// `client` is complete. Lifetime: store, scheduler and last word outlive it.
    PlasmaDisplays(std::unique_ptr<OutputClient> client, OriginalGammaStore& store, ProfileFiles files,
                   Scheduler& scheduler, ProfileLastWord& lastWord);
    ~PlasmaDisplays() override;

    /// Serves the compositor's connection from the loop.
    void listen(DescriptorWatch& watch);

    /// Whether there is a wish. `callback` hears it at each change.
    [[nodiscard]] bool isFiltering() const { return wish_.has_value(); }
    [[nodiscard]] Subscription onFiltering(std::function<void(bool)> callback) {
        return filterings_.add(std::move(callback));
    }

    bool begin(Beginning how) override;
    Result<void> prepareHandOver() override;
    Result<std::vector<Restored>> restoreAll() override;

    std::string backend() const override { return "plasma"; }
    DisplayTraits traits() const override { return {.tablesOutliveUs = true}; }
    Result<std::vector<DisplayDescription>> list() override;
    std::vector<Result<GammaTable>> held(std::span<const DisplayId> displays) override;
    void show(const std::optional<GammaTable>& wish, Fade fade) override;
    void loadAgain() override;
    void look() override {}
    /// The compositor keeps the profile and announces every change of it.
    void forgetContents() override {}
    Result<void> giveBack(GivingBack how) override;
    bool isFading() const override { return false; }
    void finishFade() override {}
    Subscription onFadeEnd(std::function<void()>) override { return {}; }
    Subscription onListChange(std::function<void()> callback) override { return listChanges_.add(std::move(callback)); }
    Subscription onLoadNeeded(std::function<void()> callback) override { return loadsNeeded_.add(std::move(callback)); }
    Subscription onLoss(std::function<void()> callback) override { return losses_.add(std::move(callback)); }

private:
    struct Display {
        DisplayId id{};
        Output output;
        ProfileSetting own;
        bool carriesOurs = false;               ///< Or has been told to, and nobody knows yet whether it does.
        std::optional<RampLevels> loaded;       ///< What it shows, where it follows a file of ours.
        Sentence refusal;                       ///< Of the latest change; empty if it was taken.
        int attempts = 0;                       ///< Refused ones, since something has changed.
        SteadyTime notBefore{};                 ///< No change of it earlier than this.
        std::optional<SteadyTime> lastContest;  ///< When somebody last put another profile in place of ours.
        bool wantsItsOwnTry = false;  ///< A change of several was refused, of which one may have been the cause.
    };
    /// What is to be done with a display.
    struct Step {
        DisplayId display{};
        OutputClient::Change change;
        std::optional<RampLevels> levels;  ///< None: it gets its own back.
    };
    using Steps = std::vector<Step>;

    void serve();
    void react();
    void send();
    void adopt();
    void observe(Display& display);
    void noteContest(Display& display);
    void noteAnswer(const Result<void>& answer);
    void bringWish();
    [[nodiscard]] Steps dueSteps();
    [[nodiscard]] Result<void> writeProfile(const Display& display, const Step& step) const;
    [[nodiscard]] static bool canBeFiltered(const Display& display);
    void refuse(Display& display, Sentence why);
    void tryAllAgain();
    bool publishGuard();
    void forgetWhatIsGivenBack();
    [[nodiscard]] Result<void> settle();
    [[nodiscard]] Display* find(DisplayId id);
    [[nodiscard]] DisplayDescription describe(const Display& display) const;
    [[nodiscard]] std::vector<DisplayDescription> rows() const;
    void tell();

    void lose();
    void awaitReturn();
    void reconnect();

    Scheduler& scheduler_;
    OriginalGammaStore& store_;
    ProfileFiles files_;
    ProfileLastWord& lastWord_;
    DescriptorWatch* watch_ = nullptr;      ///< Null until there is a loop.
    std::unique_ptr<OutputClient> client_;  ///< Null while the compositor is gone.
    DisplayIdentities identities_;
    std::vector<Display> displays_;

    std::optional<GammaTable> wish_;
    bool hasBeenTold_ = false;  ///< Until then nothing is changed: the first wish says what follows an unclean run.
    bool isGivenBack_ = false;
    Steps underWay_;
    Timer retry_;
    Timer flushing_;

    SteadyTime goneSince_{};
    int attempts_ = 0;
    Timer reconnection_;
    bool isGone_ = false;  ///< For good.

    std::vector<DisplayDescription> told_;
    bool wasFiltering_ = false;
    bool needsLoad_ = false;
    SubscriberList<bool> filterings_;
    SubscriberList<> listChanges_;
    SubscriberList<> loadsNeeded_;
    SubscriberList<> losses_;
    Subscription readable_;
};

}  // namespace dravo::plasma
