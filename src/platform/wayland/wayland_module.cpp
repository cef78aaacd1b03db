#include "platform/wayland/wayland_module.h"

#include "base/localized.h"
#include "platform/posix/program_module.h"

namespace dravo::wayland {

Result<std::unique_ptr<Compositor>> askCompositor(const std::string& version) {
    const auto found = posix::findInModule("dravo-wayland.so", kWaylandModuleEntry);
    if (!found) return found.error();
    const auto entry = reinterpret_cast<WaylandModuleEntry>(*found);
    const std::unique_ptr<Result<std::unique_ptr<Compositor>>> answer(entry(version.c_str()));
    if (answer) return std::move(*answer);
    return Error{ErrorCode::Unsupported,
                 Sentence(textKey("%@ belongs to another version of Dravo"), {"dravo-wayland.so"})};
}

}  // namespace dravo::wayland
