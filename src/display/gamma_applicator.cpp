#include "display/gamma_applicator.h"

#include <algorithm>
#include <utility>
#include <vector>

#include "display/display_access.h"

namespace dravo {
namespace {

using namespace std::chrono_literals;

constexpr int kRampSteps = 10;
constexpr Duration kFrameTime = 30ms;
/// A little early, so that a foreign change is undone within a second, the look's own delay included.
constexpr Duration kReapplyPeriod = 990ms;
constexpr Duration kRestoreRetryDelay = 1s;

bool isNowhereBrighter(const std::vector<float>& channel, const std::vector<float>& than) {
    return std::ranges::equal(channel, than, [](float level, float other) { return level <= other; });
}

/// False for tables of different lengths, which cannot be compared entry by entry.
bool isNowhereBrighter(const GammaTable& table, const GammaTable& than) {
    return isNowhereBrighter(table.red, than.red) && isNowhereBrighter(table.green, than.green) &&
           isNowhereBrighter(table.blue, than.blue);
}

}  // namespace

GammaApplicator::GammaApplicator(DisplayServer& server, WakeSource& wakeSource, Scheduler& scheduler,
                                 OriginalGammaStore& store)
    : server_(server), scheduler_(scheduler), store_(store), displayMonitor_(server, wakeSource, scheduler) {
    displayMonitor_.onDisplayChange = [this] { reapplyCurrent(); };
}

GammaApplicator::~GammaApplicator() {
    if ((ramp_ && ramp_->resets) || restoreRetry_.isPending()) static_cast<void>(server_.restoreCalibration());
}

void GammaApplicator::apply(const GammaTable& table, Fade fade) {
    restoreRetry_.cancel();
    auto start = fade == Fade::animated ? fadeStart() : std::nullopt;
    currentTable_ = table;
    startKeeping();
    if (start) {
        startRamp(*start, table, false);
        return;
    }
    const bool cutShort = std::exchange(ramp_, std::nullopt).has_value();
    frameTimer_.cancel();
    applyToAllDisplays(table);
    if (cutShort) rampEnds_.deliver();
}

Result<void> GammaApplicator::shutDown() {
    restoreRetry_.cancel();
    frameTimer_.cancel();
    stopKeeping();
    ramp_.reset();
    currentTable_.reset();
    return server_.restoreCalibration();
}

void GammaApplicator::reset(Fade fade) {
    if (fade == Fade::none || !currentTable_) return static_cast<void>(resetAtOnce());
    restoreRetry_.cancel();
    stopKeeping();
    startRamp(*fadeStart(), GammaTable::identity(), true);
}

Result<void> GammaApplicator::resetAtOnce() {
    restoreRetry_.cancel();
    stopKeeping();
    const bool cutShort = std::exchange(ramp_, std::nullopt).has_value();
    frameTimer_.cancel();
    currentTable_.reset();
    auto restored = restore();
    if (cutShort) rampEnds_.deliver();
    return restored;
}

void GammaApplicator::applyToAllDisplays(const GammaTable& table) {
    const auto tables = forAllDisplays(table);
    if (!tables.empty()) static_cast<void>(server_.loadTables(tables));
}

void GammaApplicator::reapplyCurrent() {
    if (ramp_) {
        applyToAllDisplays(ramp_->frame);
    } else if (currentTable_) {
        applyToAllDisplays(*currentTable_);
    }
}

std::optional<GammaTable> GammaApplicator::fadeStart() {
    if (currentTable_) {
        if (!ramp_ || isNowhereBrighter(*currentTable_, ramp_->frame)) return currentTable_;
        return ramp_->frame;
    }
    const auto displays = onlineDisplayIDs(server_);
    if (!displays || displays->empty()) return std::nullopt;
    auto held = readTransfer(server_, displays->front());
    return held ? std::optional(std::move(*held)) : std::nullopt;
}

void GammaApplicator::startRamp(const GammaTable& from, const GammaTable& to, bool resets) {
    // Frames have the shorter table's length; both curves are brought to it whole, or the blend would cut one off.
    const std::size_t size = std::min(from.size(), to.size());
    ramp_ = Ramp{resample(from, size), resample(to, size), resets, scheduler_.steadyNow(), 0, {}};
    showDueFrame();
}

void GammaApplicator::showDueFrame() {
    const auto framesDue = (scheduler_.steadyNow() - ramp_->start) / kFrameTime + 1;
    const int due = static_cast<int>(std::min<decltype(framesDue)>(framesDue, kRampSteps));
    if (due > ramp_->framesShown) {
        ramp_->framesShown = due;
        // Blending with weight 1 may miss the target by a rounding, which the next look would write once more.
        ramp_->frame = due == kRampSteps ? ramp_->to
                                         : interpolate(ramp_->from, ramp_->to,
                                                       static_cast<float>(due) / static_cast<float>(kRampSteps));
        applyToAllDisplays(ramp_->frame);
    }
    // The last frame, too, stands for its time before the fade is over.
    const SteadyTime next = ramp_->start + ramp_->framesShown * kFrameTime;
    if (framesDue > kRampSteps) {
        endRamp();
    } else {
        frameTimer_ = scheduler_.after(next - scheduler_.steadyNow(), [this] { showDueFrame(); });
    }
}

void GammaApplicator::endRamp() {
    const bool resets = ramp_->resets;
    ramp_.reset();
    if (resets) {
        currentTable_.reset();
        static_cast<void>(restore());
    }
    rampEnds_.deliver();
}

Result<void> GammaApplicator::restore() {
    auto restored = server_.restoreCalibration();
    if (!restored && restored.error().code != ErrorCode::Disconnected)
        restoreRetry_ = scheduler_.after(kRestoreRetryDelay, [this] { static_cast<void>(restore()); });
    return restored;
}

void GammaApplicator::startKeeping() {
    reapplyTimer_ = scheduler_.every(kReapplyPeriod, [this] { keep(); });
    displayMonitor_.start();
}

void GammaApplicator::stopKeeping() {
    reapplyTimer_.cancel();
    displayMonitor_.stop();
}

void GammaApplicator::keep() {
    // A fade's next frame, at most 30 ms away, is loaded anyway.
    if (ramp_ || !currentTable_) return;
    const auto tables = forAllDisplays(*currentTable_);
    if (!tables.empty()) server_.keepTables(tables);
}

std::vector<DisplayTable> GammaApplicator::forAllDisplays(const GammaTable& table) {
    std::vector<DisplayTable> tables;
    const auto displays = onlineDisplayIDs(server_);
    if (!displays || table.size() == 0) return tables;
    store_.includeDisplays(*displays);
    for (const DisplayId display : *displays) tables.push_back({display, table});
    return tables;
}

}  // namespace dravo
