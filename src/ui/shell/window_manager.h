#pragma once

class QWidget;

namespace dravo::ui {

// What the panel's window asks of the window system.

/// Whether somebody blends windows now: without, a transparent corner is black.
[[nodiscard]] bool hasCompositor();

/// Whether a program says where on the screen its windows are. A Wayland compositor decides that by itself, and tells
/// nobody: it puts a window of a fixed size in the middle, also where it lays out all others side by side.
[[nodiscard]] bool placesWindows();

/// Makes a window that is not shown yet one that stands apart from the others: on an X server out of task bars and
/// pagers, and on whichever workspace is in front. Before each show: window managers forget it, while the toolkit keeps
/// what it finds.
void standApart(QWidget& window);

}  // namespace dravo::ui
