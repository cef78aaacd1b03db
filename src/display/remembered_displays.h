#pragma once

#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <span>
#include <string>
#include <vector>

#include "base/observable.h"
#include "base/scheduler.h"
#include "display/display_identity.h"
#include "display/lasting_displays.h"
#include "display/original_gamma_store.h"
#include "display/table_device.h"
#include "display/table_fade.h"
#include "display/table_ledger.h"

namespace dravo {

/// The displays of a server whose tables outlive us, and all that follows from it: whose table is whose, the saved
/// tables, what an earlier run left, what is owed to displays that come back, and what the guard gives back.
///
/// Nothing of ours is on a display that the file does not know and the guard would not give back: both come before
/// every first write, here and nowhere else.
///
/// Thread: main thread. Lifetime: device, store and scheduler outlive it.
class RememberedDisplays final : public LastingDisplays {
public:
    RememberedDisplays(TableDevice& device, OriginalGammaStore& store, Scheduler& scheduler);
    ~RememberedDisplays() override;

    bool begin(Beginning how) override;
    Result<void> prepareHandOver() override;
    Result<std::vector<Restored>> restoreAll() override;
    std::string backend() const override { return device_.backend(); }
    DisplayTraits traits() const override { return {.tablesOutliveUs = true, .lookPeriod = device_.lookPeriod()}; }
    Result<std::vector<DisplayDescription>> list() override;
    std::vector<Result<GammaTable>> held(std::span<const DisplayId> displays) override;
    void show(const std::optional<GammaTable>& wish, Fade fade) override;
    void loadAgain() override;
    void look() override;
    void forgetContents() override { ledger_.forgetContents(); }
    Result<void> giveBack(GivingBack how) override;
    bool isFading() const override { return fade_.has_value(); }
    void finishFade() override;
    Subscription onFadeEnd(std::function<void()> callback) override { return fadeEnds_.add(std::move(callback)); }
    Subscription onListChange(std::function<void()> callback) override { return listChanges_.add(std::move(callback)); }
    Subscription onLoadNeeded(std::function<void()> callback) override { return loadsNeeded_.add(std::move(callback)); }
    Subscription onLoss(std::function<void()> callback) override { return device_.onLoss(std::move(callback)); }

private:
    struct Display {
        DisplayId id{};
        std::string connector;
        CrtcId crtc{};
        std::size_t tableSize = 0;
        Sentence refusal;  ///< Of the latest load; empty if it was taken.
    };
    using Ramps = std::vector<CrtcLevels>;
    using OnOutcomes = std::function<void(const TableDevice::Outcomes&)>;
    using OnConfirmed = std::function<void(const Result<void>&)>;

    void adopt();
    [[nodiscard]] Ramps duesWithIdleRemains() const;
    void serverChanged();
    void contentsChanged();
    void believeTopology();
    void save();
    void publishGuard();
    [[nodiscard]] std::map<DisplayId, GammaTable> ownTables() const;
    [[nodiscard]] const Display* find(DisplayId id) const;
    [[nodiscard]] Display* displayOn(CrtcId crtc);

    /// Ends what the wish so far has under way; whether that was a fade.
    bool dropWish();
    void askForProfiles();
    void loadAtOnce();
    [[nodiscard]] Ramps filterRamps() const;
    void loadFilter(const Ramps& ramps);
    void startFade();
    void fadeTo(const Ramps& targets, const std::map<CrtcId, RampLevels>& found);
    void showDueFrame();
    void takeBack(const OnConfirmed& done);
    void payWhatIsOwed();
    void giveTheirOwn(const Ramps& ramps, const OnConfirmed& done);
    void write(const Ramps& ramps, const OnOutcomes& done);
    void noteOutcomes(const Ramps& ramps, const TableDevice::Outcomes& outcomes);

    /// A callback for the device that does nothing once this is gone, or another wish has come.
    template <typename Callback>
    auto forThisWish(Callback callback) {
        return [alive = std::weak_ptr<int>(wishNumber_), number = *wishNumber_, callback](auto&&... args) {
            if (const auto now = alive.lock(); now && *now == number) callback(args...);
        };
    }
    /// The same for every wish.
    template <typename Callback>
    auto whileHere(Callback callback) {
        return [alive = std::weak_ptr<int>(wishNumber_), callback](auto&&... args) {
            if (const auto here = alive.lock()) callback(args...);
        };
    }

    TableDevice& device_;
    OriginalGammaStore& store_;
    Scheduler& scheduler_;
    DisplayIdentities identities_;
    TableLedger ledger_;
    std::vector<Display> displays_;
    std::vector<CrtcId> crtcs_;
    Ramps idleRemains_;             ///< What idle CRTCs get back that an earlier run has left tinted.
    std::set<CrtcId> guarded_;      ///< Those that the guard knows of.
    bool topologyIsFresh_ = false;  ///< What was found needs no second look before the first write.

    std::optional<GammaTable> wish_;
    bool hasBeenTold_ = false;  ///< Before the first `show` nobody knows what is wanted.
    std::shared_ptr<int> wishNumber_ = std::make_shared<int>(0);
    bool isGivenBack_ = false;
    bool isGone_ = false;
    bool wasGuarded_ = true;
    SteadyTime nextSave_{};
    std::optional<TableFade> fade_;
    Timer frameTimer_;
    Timer retry_;
    SubscriberList<> fadeEnds_;
    SubscriberList<> listChanges_;
    SubscriberList<> loadsNeeded_;
    Subscription deviceChanges_;
    Subscription foreignWrites_;
    Subscription deviceLoss_;
};

}  // namespace dravo
