#pragma once

#include <QPainter>
#include <QWidget>

namespace dravo::ui {

/// Paints on a control: smooth at the edges, and pale while the control is disabled.
class ControlPainter : public QPainter {
public:
    explicit ControlPainter(QWidget* control);

    /// A shape of one colour, with round corners.
    void fill(const QRectF& place, qreal radius, const QColor& colour);
    /// The same with a hairline around, drawn on the edge of `place`.
    void fillOutlined(const QRectF& place, qreal radius, const QColor& colour);

    /// A round knob with its soft shadow.
    void drawKnob(const QRectF& place);
    /// The ring that marks the keyboard's focus, inside `place`.
    void drawFocusRing(const QRectF& place, qreal radius);
};

/// Where a line of one pixel runs along the inside of `whole`.
[[nodiscard]] inline QRectF edgeOf(const QRect& whole) { return QRectF(whole).adjusted(0.5, 0.5, -0.5, -0.5); }

}  // namespace dravo::ui
