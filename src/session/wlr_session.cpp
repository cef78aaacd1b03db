#include "session/wlr_session.h"

namespace dravo {

Result<void> WlrSession::openDisplays(OriginalGammaStore&, Scheduler& scheduler) {
    if (!displays_) displays_ = compositor_->takeDisplays(scheduler);
    return {};
}

std::unique_ptr<HotKeyService> WlrSession::makeHotKeys(DescriptorWatch&, Scheduler&) {
    return std::make_unique<NoHotKeys>(kNoShortcut);
}

}  // namespace dravo
