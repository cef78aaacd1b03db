#include <string_view>

#include "platform/wayland/gamma_compositor.h"

/// The only name that the program looks up in this module.
extern "C" __attribute__((visibility("default"))) dravo::Result<std::unique_ptr<dravo::wayland::Compositor>>*
dravoWayland(const char* version) {
    if (std::string_view(version) != DRAVO_VERSION) return nullptr;
    return new dravo::Result<std::unique_ptr<dravo::wayland::Compositor>>(dravo::wayland::GammaCompositor::create());
}
