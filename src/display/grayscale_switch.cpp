#include "display/grayscale_switch.h"

namespace dravo {

void GrayscaleSwitch::set(bool enabled) {
    if (hasEnded_ || settled_ == enabled) return;
    const Result<void> done = enabled ? switchOn() : switchOff();
    settled_.reset();
    if (done || done.error().code == ErrorCode::Unsupported) settled_ = enabled;
}

void GrayscaleSwitch::shutDown() {
    set(false);
    hasEnded_ = true;
}

bool GrayscaleSwitch::isUnsupported() const {
    const auto mode = service_.isEnabled();
    return !mode && mode.error().code == ErrorCode::Unsupported;
}

void GrayscaleSwitch::undoUncleanRun() {
    if (!store_.mayHaveLeftGray()) return;
    service_.undoUncleanRun();
    store_.setGrayIsOurs(false);
}

void GrayscaleSwitch::takeOver() {
    isOurs_ = service_.setEnabled(true).hasValue();
    settled_ = true;
}

Result<void> GrayscaleSwitch::switchOn() {
    if (isOurs_) return {};
    const auto before = service_.isEnabled();
    if (!before) return before.error();
    if (*before) return {};
    store_.setGrayIsOurs(true);
    auto done = service_.setEnabled(true);
    isOurs_ = done.hasValue();
    if (!done) store_.setGrayIsOurs(false);
    return done;
}

Result<void> GrayscaleSwitch::switchOff() {
    if (!isOurs_) return {};
    auto done = service_.setEnabled(false);
    isOurs_ = !done.hasValue();
    if (done) store_.setGrayIsOurs(false);
    return done;
}

}  // namespace dravo
