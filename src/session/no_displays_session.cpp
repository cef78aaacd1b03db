#include "session/no_displays_session.h"

namespace dravo {

Result<std::vector<DisplayDescription>> NoDisplaysSession::NoDisplays::list() {
    return std::vector<DisplayDescription>{{DisplayId{1}, "Wayland", 0, DisplayState::noTable, Sentence{why}}};
}

std::vector<Result<GammaTable>> NoDisplaysSession::NoDisplays::held(std::span<const DisplayId> displays) {
    return {displays.size(), Error{ErrorCode::Unsupported, why}};
}

std::vector<PortReport> NoDisplaysSession::report() {
    constexpr TextKey kElsewhere = textKey("The desktops where Dravo can do it are listed in its README");
    return {{kDisplaysPort, {}, {{}, Sentence{displays_.why}, Sentence{kElsewhere}}},
            {kGrayscalePort, {}, {{}, Sentence{kNoGrayscaleMode}}}};
}

std::unique_ptr<HotKeyService> NoDisplaysSession::makeHotKeys(DescriptorWatch&, Scheduler&) {
    return std::make_unique<NoHotKeys>(kNoShortcut);
}

}  // namespace dravo
