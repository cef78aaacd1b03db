#include "ui/controls/knob.h"

#include "ui/theme.h"

namespace dravo::ui {

void drawKnob(QPainter& painter, const QRectF& place) {
    painter.setPen(Qt::NoPen);
    // Three rings of falling strength, one pixel below.
    constexpr int kRings = 3;
    QColor shade = theme().shadow;
    shade.setAlphaF(shade.alphaF() / kRings);
    painter.setBrush(shade);
    for (int ring = 0; ring < kRings; ++ring) {
        const qreal spread = 0.5 * ring;
        painter.drawEllipse(place.translated(0, 1).adjusted(-spread, -spread, spread, spread));
    }
    painter.setBrush(theme().knob);
    painter.drawEllipse(place);
}

}  // namespace dravo::ui
