#pragma once

class QWindow;

namespace dravo::ui {

/// A corner of the screen, inside what the desktop's bars leave free.
struct LayerPlace {
    bool isAtTop = true;
    bool isAtRight = true;
    int gap = 0;  ///< Pixels from both edges.
};

/// Puts a window that is not shown yet on the layer above all others, where a Wayland compositor has layers, with the
/// keyboard on demand. False where it has none, or where the module for it was not built or does not load.
[[nodiscard]] bool standOnLayer(QWindow* window, const LayerPlace& place);

/// The function of the module dravo-layer-shell.so that does it, and its type.
inline constexpr const char* kLayerModuleEntry = "dravoStandOnLayer";
using LayerModuleEntry = bool (*)(QWindow* window, const LayerPlace& place);

}  // namespace dravo::ui
