#include "ui/controls/button.h"

#include <QAccessible>
#include <QApplication>
#include <QKeyEvent>
#include <QPainter>

namespace dravo::ui {

namespace {

constexpr int kIconButtonRadius = 6;
constexpr int kSidePadding = 10;
constexpr int kPrimarySidePadding = 14;
constexpr int kButtonHeight = 24;
constexpr qreal kDisabledOpacity = 0.4;
constexpr int kChevronGap = 5;

bool lastInputWasKey = false;

class LastInput : public QObject {
public:
    using QObject::QObject;
    bool eventFilter(QObject*, QEvent* event) override {
        if (event->type() == QEvent::KeyPress) lastInputWasKey = true;
        if (event->type() == QEvent::MouseButtonPress || event->type() == QEvent::TouchBegin) lastInputWasKey = false;
        return false;
    }
};

}  // namespace

void KeyboardFocus::watchInput() { qApp->installEventFilter(new LastInput(qApp)); }

void KeyboardFocus::note(const QFocusEvent& event) {
    // A menu that comes and goes leaves the look as it was.
    if (event.reason() != Qt::PopupFocusReason) isShown_ = event.gotFocus() && lastInputWasKey;
}

void drawFocusRing(QPainter& painter, const QRectF& place, qreal radius) {
    painter.setBrush(Qt::NoBrush);
    painter.setPen(QPen(theme().accentText, 2));
    painter.drawRoundedRect(place.adjusted(1, 1, -1, -1), radius, radius);
}

Button::Button(QWidget* parent) : QAbstractButton(parent) {
    setFocusPolicy(Qt::StrongFocus);
    setAttribute(Qt::WA_Hover);
    setFont(fontOf(TextStyle::body));
}

void Button::onClick(std::function<void()> action) {
    connect(this, &QAbstractButton::clicked, this, [act = std::move(action)] { act(); });
}

void Button::setExpanded(bool isExpanded) {
    if (expanded_ == isExpanded) return;
    expanded_ = isExpanded;
    update();
    QAccessible::State changed;
    changed.expanded = true;
    QAccessibleStateChangeEvent event(this, changed);
    QAccessible::updateAccessibility(&event);
}

void Button::focusInEvent(QFocusEvent* event) {
    focus_.note(*event);
    QAbstractButton::focusInEvent(event);
}

void Button::focusOutEvent(QFocusEvent* event) {
    focus_.note(*event);
    QAbstractButton::focusOutEvent(event);
}

void Button::keyPressEvent(QKeyEvent* event) {
    const bool isEnter = event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter;
    if (isEnter && !event->isAutoRepeat()) {
        click();
    } else {
        QAbstractButton::keyPressEvent(event);
    }
}

IconButton::IconButton(Icon icon, const QString& toolTip, QWidget* parent) : Button(parent), icon_(icon) {
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
    setIcon(icon, toolTip);
}

void IconButton::setIcon(Icon icon, const QString& toolTip) {
    icon_ = icon;
    setToolTip(toolTip);
    setAccessibleName(toolTip);
    update();
}

void IconButton::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    if (!isEnabled()) painter.setOpacity(kDisabledOpacity);
    if (isHot()) {
        painter.setPen(Qt::NoPen);
        painter.setBrush(theme().pressed);
        painter.drawRoundedRect(rect(), kIconButtonRadius, kIconButtonRadius);
    }
    QRect place(0, 0, Theme::kIcon, Theme::kIcon);
    place.moveCenter(rect().center());
    drawIcon(painter, icon_, place, isHot() ? theme().text : theme().secondary);
    if (showsFocus()) drawFocusRing(painter, rect(), kIconButtonRadius);
}

PushButton::PushButton(const QString& text, Kind kind, QWidget* parent) : Button(parent), kind_(kind) {
    setText(text);
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
    const bool isStrong = kind == Kind::primary || kind == Kind::destructive;
    setFont(fontOf(isStrong ? TextStyle::captionStrong : TextStyle::caption));
}

void PushButton::setMuted(bool isMuted) {
    if (isMuted_ == isMuted) return;
    isMuted_ = isMuted;
    update();
}

QSize PushButton::sizeHint() const {
    const int padding = kind_ == Kind::link ? 2 : kind_ == Kind::plain ? kSidePadding : kPrimarySidePadding;
    return {fontMetrics().horizontalAdvance(text()) + 2 * padding + 1, forText(kButtonHeight)};
}

QColor PushButton::ink() const {
    const Theme& t = theme();
    switch (kind_) {
        case Kind::primary:
            return t.onAccent;
        case Kind::destructive:
            return t.red;
        case Kind::link:
            return t.accentText;
        case Kind::plain:
            break;
    }
    return isMuted_ ? t.secondary : t.text;
}

void PushButton::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    if (!isEnabled()) painter.setOpacity(kDisabledOpacity);
    const Theme& t = theme();
    const QRectF face = QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5);
    if (kind_ != Kind::link) {
        painter.setPen(kind_ == Kind::primary ? QPen(Qt::NoPen) : QPen(t.hairline, 1));
        painter.setBrush(kind_ == Kind::primary ? t.accent : t.raised);
        painter.drawRoundedRect(face, Theme::kControlRadius, Theme::kControlRadius);
        if (isHot()) {
            painter.setPen(Qt::NoPen);
            painter.setBrush(t.pressed);
            painter.drawRoundedRect(face, Theme::kControlRadius, Theme::kControlRadius);
        }
    }
    QFont lettering = font();
    lettering.setUnderline(kind_ == Kind::link && isHot());
    painter.setFont(lettering);
    painter.setPen(ink());
    painter.drawText(rect(), Qt::AlignCenter, text());
    if (showsFocus()) drawFocusRing(painter, rect(), Theme::kControlRadius);
}

DisclosureButton::DisclosureButton(const QString& title, QWidget* parent) : Button(parent) {
    setText(title);
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
    setExpanded(false);
}

QSize DisclosureButton::sizeHint() const {
    return {Theme::kSmallIcon + kChevronGap + fontMetrics().horizontalAdvance(text()), forText(Theme::kTarget)};
}

void DisclosureButton::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const Theme& t = theme();
    const bool mirrored = isRightToLeft();
    const QRect chevron(mirrored ? width() - Theme::kSmallIcon : 0, (height() - Theme::kSmallIcon) / 2,
                        Theme::kSmallIcon, Theme::kSmallIcon);
    painter.save();
    painter.translate(QRectF(chevron).center());
    painter.rotate(isExpanded() ? 90 : mirrored ? 180 : 0);
    painter.translate(-QRectF(chevron).center());
    drawIcon(painter, Icon::disclosure, chevron, isHot() ? t.text : t.secondary);
    painter.restore();
    painter.setPen(t.text);
    const int offset = Theme::kSmallIcon + kChevronGap;
    painter.drawText(rect().adjusted(mirrored ? 0 : offset, 0, mirrored ? -offset : 0, 0), kLeadingAlignment, text());
    if (showsFocus()) drawFocusRing(painter, rect(), kIconButtonRadius);
}

}  // namespace dravo::ui
