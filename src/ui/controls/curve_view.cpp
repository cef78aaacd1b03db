#include "ui/controls/curve_view.h"

#include <QPainterPath>
#include <array>
#include <vector>

#include "ui/controls/control_painter.h"
#include "ui/theme.h"

namespace dravo::ui {

namespace {

constexpr int kMargin = 6;
constexpr qreal kStroke = 1.6;

QPainterPath curveOf(const std::vector<float>& levels, const QRectF& field) {
    QPainterPath path;
    for (std::size_t i = 0; i < levels.size(); ++i) {
        const qreal in = static_cast<qreal>(i) / static_cast<qreal>(levels.size() - 1);
        const QPointF point(field.left() + in * field.width(),
                            field.bottom() - static_cast<qreal>(levels[i]) * field.height());
        if (i == 0) {
            path.moveTo(point);
        } else {
            path.lineTo(point);
        }
    }
    return path;
}

}  // namespace

CurveView::CurveView(const QString& name) {
    setAccessibleName(name);
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
}

void CurveView::setTable(const GammaTable& table) {
    if (table_ == table) return;
    table_ = table;
    update();
}

void CurveView::paintEvent(QPaintEvent*) {
    ControlPainter painter(this);
    const Theme& t = theme();
    painter.fill(rect(), Theme::kControlRadius, t.sunk);
    if (table_.red.size() < 2) return;
    const QRectF field = QRectF(rect()).adjusted(kMargin, kMargin, -kMargin, -kMargin);
    painter.setPen(QPen(t.hairline, 1));
    painter.drawLine(field.bottomLeft(), field.topRight());  // what no filter would do
    painter.setBrush(Qt::NoBrush);
    for (const auto& [levels, colour] : {std::pair(&table_.red, t.curveRed), std::pair(&table_.green, t.curveGreen),
                                         std::pair(&table_.blue, t.curveBlue)}) {
        painter.setPen(QPen(colour, kStroke, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
        painter.drawPath(curveOf(*levels, field));
    }
}

}  // namespace dravo::ui
