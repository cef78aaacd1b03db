#include "ui/views/swatch.h"

#include <QPainter>
#include <QPixmapCache>
#include <algorithm>

#include "ui/texts.h"
#include "ui/theme.h"

namespace dravo::ui {

QPixmap swatchImage(const FilterPreset& preset, qreal scale) {
    const QString key = QStringLiteral("dravo-swatch %1 %2").arg(toQt(preset.swatchCacheKey())).arg(scale);
    QPixmap dot;
    if (QPixmapCache::find(key, &dot)) return dot;
    const int side = Theme::kSmallIcon;
    dot = QPixmap(QSizeF(side * scale, side * scale).toSize());
    dot.setDevicePixelRatio(scale);
    dot.fill(Qt::transparent);
    const auto level = [](double value) { return static_cast<float>(std::clamp(value, 0.0, 1.0)); };
    const auto colour = preset.swatchColor();
    QPainter painter(&dot);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(colour ? QColor::fromRgbF(level(colour->red), level(colour->green), level(colour->blue))
                            : QColor(Qt::gray));
    painter.drawEllipse(QRectF(0, 0, side, side));
    painter.end();
    QPixmapCache::insert(key, dot);
    return dot;
}

}  // namespace dravo::ui
