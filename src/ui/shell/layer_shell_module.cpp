#include <LayerShellQt/Window>

#include <QGuiApplication>
#include <QMargins>
#include <QWindow>
#include <cstring>

#include <wayland-client.h>

#include "base/owned.h"
#include "ui/shell/layer_shell.h"

namespace dravo::ui {

namespace {

/// Whether the compositor offers layers. Asked before the library is: without them it would complain.
bool offersLayers() {
    const auto* const wayland = qGuiApp->nativeInterface<QNativeInterface::QWaylandApplication>();
    wl_display* const display = wayland ? wayland->display() : nullptr;
    if (!display) return false;
    // A queue of its own: the toolkit's events stay where they are.
    const Owned<wl_event_queue, wl_event_queue_destroy> queue(wl_display_create_queue(display));
    const Owned<wl_display, wl_proxy_wrapper_destroy> wrapper(
        static_cast<wl_display*>(wl_proxy_create_wrapper(display)));
    wl_proxy_set_queue(reinterpret_cast<wl_proxy*>(wrapper.get()), queue.get());
    const Owned<wl_registry, wl_registry_destroy> registry(wl_display_get_registry(wrapper.get()));
    bool isOffered = false;
    const auto onGlobal = [](void* found, wl_registry*, std::uint32_t, const char* interface, std::uint32_t) {
        if (std::strcmp(interface, "zwlr_layer_shell_v1") == 0) *static_cast<bool*>(found) = true;
    };
    const wl_registry_listener listener{onGlobal, [](void*, wl_registry*, std::uint32_t) {}};
    wl_registry_add_listener(registry.get(), &listener, &isOffered);
    return wl_display_roundtrip_queue(display, queue.get()) >= 0 && isOffered;
}

}  // namespace

}  // namespace dravo::ui

extern "C" __attribute__((visibility("default"))) bool dravoStandOnLayer(QWindow* window,
                                                                         const dravo::ui::LayerPlace& place) {
    using Layer = LayerShellQt::Window;
    static const bool isOffered = dravo::ui::offersLayers();
    if (!isOffered) return false;
    Layer* const layer = Layer::get(window);
    layer->setLayer(Layer::LayerTop);
    layer->setScope(QStringLiteral("dravo"));
    layer->setKeyboardInteractivity(Layer::KeyboardInteractivityOnDemand);
    layer->setAnchors(Layer::Anchors(place.isAtTop ? Layer::AnchorTop : Layer::AnchorBottom) |
                      (place.isAtRight ? Layer::AnchorRight : Layer::AnchorLeft));
    layer->setMargins(QMargins(place.gap, place.gap, place.gap, place.gap));
    return true;
}
