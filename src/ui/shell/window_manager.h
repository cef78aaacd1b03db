#pragma once

#include <QtGui/qwindowdefs.h>

namespace dravo::ui {

/// Whether somebody blends windows now: without, a transparent corner is black.
[[nodiscard]] bool hasCompositor();

/// Keeps a window that is not shown yet out of task bars and pagers. The toolkit writes the same property at each
/// show, keeping what it finds.
void hideFromTaskBars(WId window);

}  // namespace dravo::ui
