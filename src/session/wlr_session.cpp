#include "session/wlr_session.h"

#include "base/report.h"

namespace dravo {

std::unique_ptr<Session> WlrSession::find() {
    auto compositor = wayland::askCompositor(DRAVO_VERSION);
    // A compositor that does not answer is told of by whoever needs it.
    if (!compositor && compositor.error().code != ErrorCode::Disconnected)
        reportOnce("wayland", compositor.error().message);
    if (!compositor || !(*compositor)->handsOutTables()) return nullptr;
    return std::unique_ptr<Session>(new WlrSession(std::move(*compositor)));
}

Result<void> WlrSession::openDisplays(OriginalGammaStore&, Scheduler& scheduler) {
    if (!displays_) displays_ = compositor_->takeDisplays(scheduler);
    return {};
}

}  // namespace dravo
