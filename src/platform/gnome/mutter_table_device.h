#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "base/descriptor_watch.h"
#include "base/observable.h"
#include "base/scheduler.h"
#include "display/table_device.h"
#include "platform/gnome/display_config.h"
#include "platform/gnome/mutter_last_word.h"

namespace dravo::gnome {

/// The transfer tables of a GNOME session on Wayland, through the display configuration that Mutter, its compositor,
/// offers on the session bus.
///
/// Mutter keeps tables when their writer goes, lets everybody write, and writes itself: at every change of displays and
/// profiles, and at every step of Night Light. All of that is announced; what a third program writes is not.
///
/// Answers come from the loop, or inside `finish`. A write that was refused because displays have changed meanwhile is
/// made once more, unless another one for the same CRTC has left since. A compositor that restarts is not the server's
/// end: all displays are off until it is back.
class MutterTableDevice final : public TableDevice {
public:
    /// Connects to the session bus if Mutter is on it. It is not asked for anything yet.
    /// Errors: `Disconnected` (no session bus), `NotFound` (nobody there offers this).
    [[nodiscard]] static Result<std::unique_ptr<BusLink>> connect();

    /// Reads all displays, which takes two round trips. With `lastWord`, that is what gives the displays back after a
    /// sudden end; it outlives the device. Without, they are only as safe as the caller. A compositor that takes more
    /// than two seconds has no displays yet; they come as a change.
    /// Errors: as above.
    [[nodiscard]] static Result<std::unique_ptr<MutterTableDevice>> create(std::unique_ptr<BusLink> bus,
                                                                           MutterLastWord* lastWord);
    ~MutterTableDevice() override;

    /// Starts to listen for changes and for the session's end.
    void listen(DescriptorWatch& watch, Scheduler& scheduler);

    std::string backend() const override { return "gnome"; }
    Duration lookPeriod() const override;
    const DeviceTopology& topology() const override { return topology_; }
    /// Asks nobody: every change is announced. Errors: also `Disconnected` while there is no compositor.
    Result<void> refresh() override;
    void read(std::span<const CrtcId> crtcs, std::function<void(Result<Levels>)> done) override;
    void write(std::span<const CrtcLevels> ramps, std::function<void(Outcomes)> done) override;
    bool isBusy() const override { return writesAwaited_ > 0; }
    void finish(std::chrono::milliseconds patience) override { bus_->finish(patience); }
    /// Every look is a plain read.
    std::optional<std::vector<bool>> lookAt(std::span<const CrtcLevels> wanted) override;
    bool isGuarded() const override { return !lastWord_ || lastWord_->isOpen(); }
    void guard(std::vector<CrtcLevels> own) override;
    Subscription onChange(std::function<void()> callback) override { return changed_.add(std::move(callback)); }
    Subscription onForeignWrite(std::function<void()> callback) override {
        return foreignWrites_.add(std::move(callback));
    }
    Subscription onLoss(std::function<void()> callback) override { return lost_.add(std::move(callback)); }

private:
    /// Questions about some CRTCs that left together.
    struct Batch;
    using OnBatch = std::function<void(const Batch&)>;
    struct Write {
        std::uint64_t number = 0;
        RampLevels levels;
        bool isConfirmed = false;
    };
    /// What makes an output the same one again.
    using Monitor = std::pair<std::string, std::vector<std::uint8_t>>;

    MutterTableDevice(std::unique_ptr<BusLink> bus, MutterLastWord* lastWord);

    void start(std::vector<CrtcLevels> rows, bool isWrite, OnBatch done);
    void send(const std::shared_ptr<Batch>& batch, const std::vector<std::size_t>& rows);
    void noteAnswers(const std::shared_ptr<Batch>& batch);
    void repeat(const std::shared_ptr<Batch>& batch, std::vector<std::size_t> rows);
    void end(Batch& batch);

    void fetch();
    void noteResources(const BusLink::Answer& answer);
    void readAll();
    void adopt(const Batch& reading);
    void announceChange();
    void nameOwnerChanged(bool isOwned);
    void profilesChange();
    void look();
    void learn(const Batch& reading);
    void tellOfForeignWrite(Duration pause);
    void tellOfDoubt();

    std::unique_ptr<BusLink> bus_;
    std::unique_ptr<BusLink> systemBus_;  ///< For the daemon that assigns colour profiles.
    MutterLastWord* lastWord_;
    DeviceTopology topology_;
    DisplayResources resources_;
    Result<void> latestFetch_;
    bool hasTables_ = true;
    bool isThere_ = false;  ///< The compositor, with resources that we know.
    bool isFetching_ = false;
    bool isDoubtful_ = false;  ///< What is being fetched was announced as changed.
    std::vector<std::function<void()>> afterFetch_;
    std::uint64_t readings_ = 0;  ///< Only the latest reading of everything counts.

    std::map<CrtcId, Write> latestWrites_;
    std::uint64_t writes_ = 0;
    std::size_t writesAwaited_ = 0;
    std::map<Monitor, GammaTable> own_;  ///< What the compositor itself loaded last, where that was seen.
    SteadyTime learnsUntil_{};

    Scheduler* scheduler_ = nullptr;
    Timer announcement_;
    Timer secondLook_;
    Timer foreignWrite_;
    SteadyTime latestDoubt_{};
    Duration pause_{};
    SubscriberList<> changed_;
    SubscriberList<> foreignWrites_;
    SubscriberList<> lost_;
};

}  // namespace dravo::gnome
