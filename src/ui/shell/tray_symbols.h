#pragma once

#include <QIcon>

#include "app/status_item.h"

namespace dravo::ui {

/// The tray icon's picture. Nobody tells a program how bright the desktop's bar is: the drawing is light with a dark
/// edge, so that it can be told from both.
[[nodiscard]] QIcon trayIconOf(StatusItem::Symbol symbol);

}  // namespace dravo::ui
