#include "ui/shell/tray_symbols.h"

#include <QPainter>
#include <QPainterPath>
#include <QPixmap>
#include <initializer_list>

#include "ui/theme.h"

namespace dravo::ui {

namespace {

// On a field of 16 by 16.
QPainterPath eye() {
    QPainterPath lids;
    lids.moveTo(2, 8);
    lids.cubicTo(4, 4.4, 6, 3.8, 8, 3.8);
    lids.cubicTo(10, 3.8, 12, 4.4, 14, 8);
    lids.cubicTo(12, 11.6, 10, 12.2, 8, 12.2);
    lids.cubicTo(6, 12.2, 4, 11.6, 2, 8);
    return lids;
}

void draw(QPainter& painter, StatusItem::Symbol symbol, const QColor& colour, qreal width) {
    const QPen pen(colour, width, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin);
    const bool isFilled = symbol == StatusItem::Symbol::eyeCircleFill;
    painter.setPen(pen);
    painter.setBrush(isFilled ? QBrush(colour) : QBrush(Qt::NoBrush));
    painter.drawPath(eye());
    if (isFilled) {
        painter.setCompositionMode(QPainter::CompositionMode_DestinationOut);
        painter.setPen(Qt::NoPen);
        painter.setBrush(Qt::black);
        painter.drawEllipse(QPointF(8, 8), 2.2, 2.2);
        painter.setCompositionMode(QPainter::CompositionMode_SourceOver);
    } else {
        painter.drawEllipse(QPointF(8, 8), 1.9, 1.9);
    }
    painter.setPen(pen);
    if (symbol == StatusItem::Symbol::eyeSlashCircle) painter.drawLine(QPointF(3, 13), QPointF(13, 3));
}

QPixmap pictureOf(StatusItem::Symbol symbol, int size) {
    QPixmap edge(size, size);
    edge.fill(Qt::transparent);
    QPixmap glyph = edge;
    for (auto* const layer : {&edge, &glyph}) {
        QPainter painter(layer);
        painter.setRenderHint(QPainter::Antialiasing);
        painter.scale(size / 16.0, size / 16.0);
        const bool isEdge = layer == &edge;
        draw(painter, symbol, QColor::fromRgba(isEdge ? Theme::kTrayEdge : Theme::kTrayGlyph), isEdge ? 3.0 : 1.5);
    }
    QPainter(&edge).drawPixmap(0, 0, glyph);
    return edge;
}

}  // namespace

QIcon trayIconOf(StatusItem::Symbol symbol) {
    QIcon icon;
    for (const int size : {16, 22, 24, 32, 48}) icon.addPixmap(pictureOf(symbol, size));
    return icon;
}

}  // namespace dravo::ui
