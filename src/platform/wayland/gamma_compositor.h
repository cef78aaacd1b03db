#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "platform/wayland/wayland_connection.h"
#include "platform/wayland/wayland_module.h"

namespace dravo::wayland {

/// A compositor's first answer.
class GammaCompositor final : public Compositor {
public:
    /// Connects, and waits for the list of what is offered. Errors: `Disconnected`.
    [[nodiscard]] static Result<std::unique_ptr<Compositor>> create();

    std::uint32_t versionOf(std::string_view interface) const override;
    bool handsOutTables() const override;
    std::unique_ptr<CompositorDisplays> takeDisplays(Scheduler& scheduler) override;

private:
    GammaCompositor() = default;

    std::unique_ptr<Connection> connection_;
    std::uint64_t greeting_ = 0;
    std::vector<Connection::Global> globals_;
};

}  // namespace dravo::wayland
