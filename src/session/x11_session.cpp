#include "session/x11_session.h"

#include <utility>

#include "platform/x11/x11_hot_key_service.h"
#include "platform/x11/x11_tray.h"

namespace dravo {
namespace {

/// $DISPLAY.
constexpr const char* kUsualServer = "";

}  // namespace

X11Session::X11Session(Guarding guarding) {
    if (guarding == Guarding::byLastWord) emergency_ = std::make_unique<x11::EmergencyRestore>(kUsualServer);
}

Result<void> X11Session::openDisplays(OriginalGammaStore& store, Scheduler& scheduler) {
    if (displays_) return {};
    auto device = x11::X11TableDevice::create(kUsualServer, emergency_.get());
    if (!device) return device.error();
    device_ = std::move(*device);
    displays_.emplace(*device_, store, scheduler);
    return {};
}

bool X11Session::embedsTrayIcons() { return x11::hasEmbeddingTray(kUsualServer); }

std::unique_ptr<HotKeyService> X11Session::makeHotKeys(DescriptorWatch& watch, Scheduler& scheduler) {
    return std::make_unique<x11::X11HotKeyService>(kUsualServer, watch, scheduler);
}

}  // namespace dravo
