#include "platform/wayland/gamma_compositor.h"

#include <algorithm>
#include <utility>

#include "base/localized.h"
#include "platform/wayland/gamma_client.h"
#include "platform/wayland/wlr_displays.h"

namespace dravo::wayland {

Result<std::unique_ptr<Compositor>> GammaCompositor::create() {
    auto connection = Connection::create();
    if (!connection) return connection.error();
    std::unique_ptr<GammaCompositor> compositor(new GammaCompositor);
    compositor->connection_ = std::move(*connection);
    Connection& asked = *compositor->connection_;
    asked.onGlobal = [&globals = compositor->globals_](const Connection::Global& global) { globals.push_back(global); };
    compositor->greeting_ = asked.ask();
    while (!asked.hasAnswered(compositor->greeting_))
        if (!asked.wait(kPatience))
            return Error{ErrorCode::Disconnected, textKey("the display server does not answer")};
    return std::unique_ptr<Compositor>(std::move(compositor));
}

std::uint32_t GammaCompositor::versionOf(std::string_view interface) const {
    const auto found = std::ranges::find(globals_, interface, &Connection::Global::interface);
    return found == globals_.end() ? 0 : found->version;
}

bool GammaCompositor::handsOutTables() const { return std::ranges::any_of(globals_, GammaClient::isManager); }

std::unique_ptr<CompositorDisplays> GammaCompositor::takeDisplays(Scheduler& scheduler) {
    return std::make_unique<WlrDisplays>(std::make_unique<GammaClient>(std::move(connection_), globals_, greeting_),
                                         scheduler);
}

}  // namespace dravo::wayland
