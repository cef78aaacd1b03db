#include "ui/controls/control_painter.h"

#include "ui/theme.h"

namespace dravo::ui {

ControlPainter::ControlPainter(QWidget* control) : QPainter(control) {
    constexpr qreal kDisabledOpacity = 0.4;
    setRenderHint(QPainter::Antialiasing);
    if (!control->isEnabled()) setOpacity(kDisabledOpacity);
}

void ControlPainter::fill(const QRectF& place, qreal radius, const QColor& colour) {
    setPen(Qt::NoPen);
    setBrush(colour);
    drawRoundedRect(place, radius, radius);
}

void ControlPainter::fillOutlined(const QRectF& place, qreal radius, const QColor& colour) {
    setPen(QPen(theme().hairline, 1));
    setBrush(colour);
    drawRoundedRect(place, radius, radius);
}

void ControlPainter::drawKnob(const QRectF& place) {
    setPen(Qt::NoPen);
    // Three rings of falling strength, one pixel below.
    constexpr int kRings = 3;
    QColor shade = theme().shadow;
    shade.setAlphaF(shade.alphaF() / kRings);
    setBrush(shade);
    for (int ring = 0; ring < kRings; ++ring) {
        const qreal spread = 0.5 * ring;
        drawEllipse(place.translated(0, 1).adjusted(-spread, -spread, spread, spread));
    }
    setBrush(theme().knob);
    drawEllipse(place);
}

void ControlPainter::drawFocusRing(const QRectF& place, qreal radius) {
    setBrush(Qt::NoBrush);
    setPen(QPen(theme().accentText, 2));
    drawRoundedRect(place.adjusted(1, 1, -1, -1), radius, radius);
}

}  // namespace dravo::ui
