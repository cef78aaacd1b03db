#include "display/gamma_applicator.h"

namespace dravo {

GammaApplicator::GammaApplicator(Displays& displays, WakeSource& wakeSource, Scheduler& scheduler)
    : displays_(displays), scheduler_(scheduler), displayMonitor_(displays, wakeSource, scheduler) {
    displayMonitor_.onDisplayChange = [this] { reapplyCurrent(); };
}

GammaApplicator::~GammaApplicator() {
    if (!currentTable_) displays_.finishFade();
}

void GammaApplicator::apply(const GammaTable& table, Fade fade) {
    if (hasEnded_) return;
    currentTable_ = table;
    displays_.show(table, fade);
    const Duration period = displays_.traits().lookPeriod;
    if (period > Duration::zero()) reapplyTimer_ = scheduler_.every(period, [this] { displays_.look(); });
    displayMonitor_.start();
}

void GammaApplicator::reset(Fade fade) {
    if (hasEnded_) return;
    const bool hadTable = currentTable_.has_value();
    stopKeeping();
    displays_.show(std::nullopt, hadTable ? fade : Fade::none);
}

Result<void> GammaApplicator::resetAtOnce() { return giveBack(Displays::GivingBack::forNow); }

Result<void> GammaApplicator::shutDown() {
    auto given = giveBack(Displays::GivingBack::forGood);
    hasEnded_ = true;
    return given;
}

Result<void> GammaApplicator::giveBack(Displays::GivingBack how) {
    stopKeeping();
    return displays_.giveBack(how);
}

void GammaApplicator::reapplyCurrent() {
    if (currentTable_) displays_.loadAgain();
}

void GammaApplicator::stopKeeping() {
    currentTable_.reset();
    reapplyTimer_.cancel();
    displayMonitor_.stop();
}

}  // namespace dravo
