#include "platform/plasma/plasma_desk.h"

#include <chrono>
#include <string_view>

namespace dravo::plasma {

Result<void> PlasmaDesk::open(OriginalGammaStore& store, Scheduler& scheduler) {
    using namespace std::chrono_literals;
    if (displays_) return {};
    auto connection = wayland::Connection::create();
    if (!connection) return connection.error();
    auto client = std::make_unique<OutputClient>(std::move(*connection));
    const SteadyTime deadline = scheduler.steadyNow() + 2s;
    while (!client->isComplete()) {
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - scheduler.steadyNow());
        if (left.count() <= 0 || !client->connection().wait(left))
            return Error{ErrorCode::Disconnected, textKey("the display server does not answer")};
        client->notice();
    }
    displays_ = std::make_unique<PlasmaDisplays>(std::move(client), store, files_, scheduler, lastWord_);
    return {};
}

}  // namespace dravo::plasma

/// The only name of these displays that the program looks up in the module.
extern "C" __attribute__((visibility("default"))) dravo::plasma::ProfileDesk* dravoPlasma(
    const char* version, const dravo::DataFolder& folder) {
    return std::string_view(version) == DRAVO_VERSION ? new dravo::plasma::PlasmaDesk(folder) : nullptr;
}
