#pragma once

#include "base/probe.h"

namespace dravo::ui {

/// The toolkit's plug-in for the kind of windows that this desktop has.
inline constexpr const char* kToolkitPlatform = "xcb";

/// Whether the toolkit could start with it; starts nothing.
[[nodiscard]] Finding probeToolkitPlatform();

}  // namespace dravo::ui
