#include "session/session.h"

#include "session/no_displays_session.h"
#include "session/wayland_socket.h"
#include "session/x11_session.h"

namespace dravo {

std::unique_ptr<Session> Session::choose(Guarding guarding, const Environment& environment) {
    if (!isWaylandSession(environment)) return std::make_unique<X11Session>(guarding);
    return std::make_unique<NoDisplaysSession>();
}

std::vector<PortReport> Session::reportOnDisplays() {
    std::vector<PortReport> rows{{textKey("port.displays", "displays"), {}, displays().backend(), {}, {}}};
    const auto list = displays().list();
    if (!list) {
        rows.front().problem = Sentence{textKey("the display server is gone")};
        return rows;
    }
    for (const auto& display : *list)
        rows.push_back({textKey("port.display", "display"), display.name, displays().backend(), display.problem, {}});
    PortReport gray{textKey("port.grayscale", "grayscale"), {}, displays().backend(), {}, {}};
    if (!grayscale().isEnabled()) gray.problem = Sentence{textKey("this desktop has no grayscale mode")};
    rows.push_back(gray);
    return rows;
}

}  // namespace dravo
