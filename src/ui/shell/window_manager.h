#pragma once

#include <QtGui/qwindowdefs.h>

namespace dravo::ui {

/// Whether somebody blends windows now: without, a transparent corner is black.
[[nodiscard]] bool hasCompositor();

/// Keeps a window that is not shown yet out of task bars and pagers, and on whichever workspace is in front. Before
/// each show: window managers forget it, while the toolkit keeps what it finds.
void standApart(WId window);

}  // namespace dravo::ui
