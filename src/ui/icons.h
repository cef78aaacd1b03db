#pragma once

#include <QColor>
#include <QPainter>
#include <QPixmap>

namespace dravo::ui {

/// Our own icons, one stroke weight, named after what they stand for.
enum class Icon {
    add,
    adjustments,
    bellOff,
    cancel,
    chosen,
    copy,
    disclosure,
    edit,
    eye,
    keyboard,
    locationOff,
    moon,
    more,
    openMenu,
    pause,
    paused,
    presets,
    quit,
    remove,
    reset,
    revert,
    settings,
    sunset,
    warning,
};

/// Draws `icon` into `place` in one colour, sharp at the painter's scale. Each size and colour is rendered once.
void drawIcon(QPainter& painter, Icon icon, const QRect& place, const QColor& colour);

/// The same as a picture of `side` pixels at `scale`, for menus.
[[nodiscard]] QPixmap iconPixmap(Icon icon, int side, const QColor& colour, qreal scale);

}  // namespace dravo::ui
