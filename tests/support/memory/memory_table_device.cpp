#include "support/memory/memory_table_device.h"

#include <utility>

namespace dravo::memory {
namespace {

Error disconnected() { return {ErrorCode::Disconnected, "the virtual display server has ended"}; }

}  // namespace

MemoryTableDevice::MemoryTableDevice(VirtualDesk& desk)
    : desk_(desk),
      deskChanges_(desk.onChange([this] {
          if (refresh()) changes_.deliver();
      })),
      deskShutDown_(desk.onShutDown([this] { losses_.deliver(); })) {
    static_cast<void>(refresh());
}

void MemoryTableDevice::answerAll() {
    while (!answers_.empty()) {
        const auto next = std::move(answers_.front());
        answers_.pop_front();
        next();
    }
}

void MemoryTableDevice::finish(std::chrono::milliseconds patience) {
    static_cast<void>(patience);
    answerAll();
}

void MemoryTableDevice::answer(std::function<void()> callback) {
    if (answersLate) {
        answers_.push_back(std::move(callback));
    } else {
        callback();
    }
}

Result<void> MemoryTableDevice::refresh() {
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

void MemoryTableDevice::read(std::span<const CrtcId> crtcs, std::function<void(Result<Levels>)> done) {
    Result<Levels> answered = disconnected();
    if (desk_.isUp() && !desk_.failsReading) {
        Levels levels;
        for (const CrtcId crtc : crtcs)
            levels.push_back(desk_.crtcs().contains(crtc) ? desk_.held(crtc) : RampLevels{});
        answered = std::move(levels);
    }
    answer([done = std::move(done), answered] { done(answered); });
}

void MemoryTableDevice::write(std::span<const CrtcLevels> ramps, std::function<void(Outcomes)> done) {
    Outcomes outcomes;
    for (const auto& [crtc, levels] : ramps) {
        if (!desk_.isUp()) {
            outcomes.emplace_back(disconnected());
        } else if (desk_.crtcs().contains(crtc) && desk_.write(crtc, levels)) {
            outcomes.emplace_back();
        } else {
            outcomes.emplace_back(Error{ErrorCode::PermissionDenied, "the virtual display server refused the table"});
        }
    }
    answer([done = std::move(done), outcomes] { done(outcomes); });
}

std::optional<std::vector<bool>> MemoryTableDevice::lookAt(std::span<const CrtcLevels> wanted) {
    if (!desk_.isUp() || desk_.failsReading) return std::nullopt;
    std::vector<bool> isKept;
    for (const auto& [crtc, levels] : wanted) isKept.push_back(desk_.held(crtc) == levels);
    return isKept;
}

}  // namespace dravo::memory
