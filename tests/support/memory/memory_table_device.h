#pragma once

#include <deque>
#include <utility>

#include "base/observable.h"
#include "display/table_device.h"
#include "support/memory/virtual_desk.h"

namespace dravo::memory {

/// A TableDevice on a VirtualDesk: one client's connection to it.
///
/// Lifetime: the desk outlives it.
class MemoryTableDevice final : public TableDevice {
public:
    explicit MemoryTableDevice(VirtualDesk& desk) : desk_(desk) { static_cast<void>(refresh()); }

    /// Answers wait for `answerAll`, as those of a server on a bus do.
    bool answersLate = false;
    /// Gives the answers that wait, and those that these bring about.
    void answerAll() {
        while (!answers_.empty()) {
            const auto next = std::move(answers_.front());
            answers_.pop_front();
            next();
        }
    }

    /// What a sudden end would give back.
    [[nodiscard]] const std::vector<CrtcLevels>& guarded() const { return guarded_; }

    std::string backend() const override { return "memory"; }
    Duration lookPeriod() const override { return std::chrono::milliseconds(990); }
    const DeviceTopology& topology() const override { return topology_; }
    Result<void> refresh() override {
        if (!desk_.isUp()) return disconnected();
        topology_ = {};
        std::vector<CrtcId> all;
        for (const auto& [crtc, state] : desk_.crtcs()) {
            all.push_back(crtc);
            topology_.crtcs.push_back({crtc, desk_.held(crtc)});
        }
        for (const auto& [connector, output] : desk_.outputs())
            topology_.outputs.push_back({connector, output.edid, output.crtc, all, output.vcgt});
        return {};
    }
    void read(std::span<const CrtcId> crtcs, std::function<void(Result<Levels>)> done) override {
        Result<Levels> answered = disconnected();
        if (desk_.isUp() && !desk_.failsReading) {
            answered = Levels();
            for (const CrtcId crtc : crtcs)
                answered->push_back(desk_.crtcs().contains(crtc) ? desk_.held(crtc) : RampLevels{});
        }
        answer([done = std::move(done), answered] { done(answered); });
    }
    void write(std::span<const CrtcLevels> ramps, std::function<void(Outcomes)> done) override {
        Outcomes outcomes;
        for (const auto& [crtc, levels] : ramps) {
            if (!desk_.isUp()) {
                outcomes.emplace_back(disconnected());
            } else if (desk_.crtcs().contains(crtc) && desk_.write(crtc, levels)) {
                outcomes.emplace_back();
            } else {
                outcomes.emplace_back(Error{ErrorCode::PermissionDenied, "the virtual server refused the table"});
            }
        }
        answer([done = std::move(done), outcomes] { done(outcomes); });
    }
    bool isBusy() const override { return !answers_.empty(); }
    void finish(std::chrono::milliseconds) override { answerAll(); }
    std::optional<std::vector<bool>> lookAt(std::span<const CrtcLevels> wanted) override {
        if (!desk_.isUp() || desk_.failsReading) return std::nullopt;
        std::vector<bool> isKept;
        for (const auto& [crtc, levels] : wanted) isKept.push_back(desk_.held(crtc) == levels);
        return isKept;
    }
    void guard(std::vector<CrtcLevels> own) override { guarded_ = std::move(own); }
    Subscription onChange(std::function<void()> callback) override { return changes_.add(std::move(callback)); }
    Subscription onLoss(std::function<void()> callback) override { return losses_.add(std::move(callback)); }

private:
    static Error disconnected() { return {ErrorCode::Disconnected, "the virtual server has ended"}; }
    void answer(std::function<void()> callback) {
        if (answersLate) {
            answers_.push_back(std::move(callback));
        } else {
            callback();
        }
    }

    VirtualDesk& desk_;
    DeviceTopology topology_;
    std::deque<std::function<void()>> answers_;
    std::vector<CrtcLevels> guarded_;
    SubscriberList<> changes_;
    SubscriberList<> losses_;
    Subscription deskChanges_ = desk_.onChange([this] {
        if (refresh()) changes_.deliver();
    });
    Subscription deskShutDown_ = desk_.onShutDown([this] { losses_.deliver(); });
};

}  // namespace dravo::memory
