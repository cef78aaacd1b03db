#include "session/session.h"

#include "platform/x11/x11_emergency_restore.h"
#include "platform/x11/x11_hot_key_service.h"
#include "platform/x11/x11_table_device.h"

namespace dravo {
namespace {

/// $DISPLAY.
constexpr const char* kUsualServer = "";

}  // namespace

std::unique_ptr<Session> Session::choose(Guarding guarding) { return std::unique_ptr<Session>(new Session(guarding)); }

Session::Session(Guarding guarding) {
    if (guarding == Guarding::byLastWord) emergency_ = std::make_unique<x11::EmergencyRestore>(kUsualServer);
}

Session::~Session() = default;

LastWord& Session::lastWord() { return *emergency_; }

Result<void> Session::openDisplays(OriginalGammaStore& store, Scheduler& scheduler) {
    if (displays_) return {};
    auto device = x11::X11TableDevice::create(kUsualServer, emergency_.get());
    if (!device) return device.error();
    device_ = std::move(*device);
    displays_.emplace(*device_, store, scheduler);
    return {};
}

GrayscaleService& Session::grayscale() { return device_->grayscale(); }

bool Session::isGuarded() const { return device_->isGuarded(); }

void Session::listen(DescriptorWatch& watch, Scheduler& scheduler) { device_->listen(watch, scheduler); }

std::unique_ptr<HotKeyService> Session::makeHotKeys(DescriptorWatch& watch, Scheduler& scheduler) {
    return std::make_unique<x11::X11HotKeyService>(kUsualServer, watch, scheduler);
}

}  // namespace dravo
