#pragma once

#include <string>

namespace dravo::x11 {

/// Whether a bar embeds windows as tray icons now, on the first screen of `display` (":0"), or of $DISPLAY when it is
/// empty. False as well where no server answers. Waits for two answers of the server.
[[nodiscard]] bool hasEmbeddingTray(const std::string& display);

}  // namespace dravo::x11
