#include "ui/icons.h"

#include <QFile>
#include <QPixmapCache>
#include <QSvgRenderer>
#include <array>

// A static library's resources have to be asked for, outside of any namespace.
static void registerIcons() { Q_INIT_RESOURCE(icons); }

namespace dravo::ui {

namespace {

constexpr std::array kFiles{
    "add",     "adjustments", "bell-off",     "cancel", "chosen", "copy",      "disclosure", "edit",
    "eye",     "keyboard",    "location-off", "moon",   "more",   "open-menu", "pause",      "paused",
    "presets", "quit",        "delete",       "reset",  "revert", "settings",  "sunset",     "warning",
};

QByteArray drawingOf(Icon icon, const QColor& colour) {
    registerIcons();
    QFile file(QStringLiteral(":/icons/%1.svg").arg(QLatin1String(kFiles.at(static_cast<std::size_t>(icon)))));
    if (!file.open(QIODevice::ReadOnly)) return {};
    return file.readAll().replace("currentColor", colour.name().toLatin1());
}

}  // namespace

QPixmap iconPixmap(Icon icon, int side, const QColor& colour, qreal scale) {
    const QString key = QStringLiteral("dravo-icon %1 %2 %3 %4")
                            .arg(static_cast<int>(icon))
                            .arg(side)
                            .arg(colour.name(QColor::HexArgb))
                            .arg(scale);
    QPixmap picture;
    if (QPixmapCache::find(key, &picture)) return picture;
    picture = QPixmap(QSizeF(side * scale, side * scale).toSize());
    picture.setDevicePixelRatio(scale);
    picture.fill(Qt::transparent);
    QPainter painter(&picture);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setOpacity(static_cast<qreal>(colour.alphaF()));
    QSvgRenderer(drawingOf(icon, colour)).render(&painter, QRectF(0, 0, side, side));
    painter.end();
    QPixmapCache::insert(key, picture);
    return picture;
}

void drawIcon(QPainter& painter, Icon icon, const QRect& place, const QColor& colour) {
    painter.drawPixmap(place, iconPixmap(icon, place.width(), colour, painter.device()->devicePixelRatioF()));
}

}  // namespace dravo::ui
