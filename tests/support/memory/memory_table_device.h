#pragma once

#include <deque>

#include "base/observable.h"
#include "display/table_device.h"
#include "support/memory/virtual_desk.h"

namespace dravo::memory {

/// A TableDevice on a VirtualDesk: one client's connection to it.
///
/// Lifetime: the desk outlives it.
class MemoryTableDevice final : public TableDevice {
public:
    explicit MemoryTableDevice(VirtualDesk& desk);

    /// Answers wait for `answerAll`, as those of a server on a bus do.
    bool answersLate = false;
    /// Gives the answers that wait, and those that these bring about.
    void answerAll();

    /// What a sudden end would give back.
    [[nodiscard]] const std::vector<CrtcLevels>& guarded() const { return guarded_; }

    std::string backend() const override { return "memory"; }
    const DeviceTopology& topology() const override { return topology_; }
    Result<void> refresh() override;
    void read(std::span<const CrtcId> crtcs, std::function<void(Result<Levels>)> done) override;
    void write(std::span<const CrtcLevels> ramps, std::function<void(Outcomes)> done) override;
    bool isBusy() const override { return !answers_.empty(); }
    void finish(std::chrono::milliseconds patience) override;
    std::optional<std::vector<bool>> lookAt(std::span<const CrtcLevels> wanted) override;
    void guard(std::vector<CrtcLevels> own) override { guarded_ = std::move(own); }
    Subscription onChange(std::function<void()> callback) override { return changes_.add(std::move(callback)); }
    Subscription onLoss(std::function<void()> callback) override { return losses_.add(std::move(callback)); }

private:
    void answer(std::function<void()> callback);

    VirtualDesk& desk_;
    DeviceTopology topology_;
    std::deque<std::function<void()>> answers_;
    std::vector<CrtcLevels> guarded_;
    SubscriberList<> changes_;
    SubscriberList<> losses_;
    Subscription deskChanges_;
    Subscription deskShutDown_;
};

}  // namespace dravo::memory
