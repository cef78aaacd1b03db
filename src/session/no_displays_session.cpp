#include "session/no_displays_session.h"

namespace dravo {
namespace {

constexpr TextKey kNoWay = textKey("this Wayland session offers no way to tint the screen");

}  // namespace

Result<std::vector<DisplayDescription>> NoDisplaysSession::NoDisplays::list() {
    return std::vector<DisplayDescription>{{DisplayId{1}, "Wayland", 0, DisplayState::noTable, Sentence{kNoWay}}};
}

std::vector<Result<GammaTable>> NoDisplaysSession::NoDisplays::held(std::span<const DisplayId> displays) {
    return {displays.size(), Error{ErrorCode::Unsupported, kNoWay}};
}

std::vector<PortReport> NoDisplaysSession::report() {
    constexpr TextKey kElsewhere = textKey("The desktops where Dravo can do it are listed in its README");
    return {{kDisplaysPort, {}, {{}, Sentence{kNoWay}, Sentence{kElsewhere}}},
            {kGrayscalePort, {}, {{}, Sentence{kNoGrayscaleMode}}}};
}

}  // namespace dravo
