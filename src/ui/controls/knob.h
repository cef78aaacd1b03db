#pragma once

#include <QPainter>

namespace dravo::ui {

/// Draws a round knob with its soft shadow.
void drawKnob(QPainter& painter, const QRectF& place);

}  // namespace dravo::ui
