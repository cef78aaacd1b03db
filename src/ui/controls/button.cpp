#include "ui/controls/button.h"

#include <QAccessible>
#include <QApplication>
#include <QKeyEvent>
#include <utility>

#include "ui/controls/control_painter.h"

namespace dravo::ui {

namespace {

constexpr int kIconButtonRadius = 6;
constexpr int kSidePadding = 10;
constexpr int kPrimarySidePadding = 14;
constexpr int kButtonHeight = 24;
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

bool KeyboardFocus::eventFilter(QObject*, QEvent* event) {
    const bool isFocusEvent = event->type() == QEvent::FocusIn || event->type() == QEvent::FocusOut;
    // A menu that comes and goes leaves the look as it was.
    if (isFocusEvent && static_cast<QFocusEvent*>(event)->reason() != Qt::PopupFocusReason)
        isShown_ = event->type() == QEvent::FocusIn && lastInputWasKey;
    return false;
}

Button::Button(std::function<void()> action) {
    setFocusPolicy(Qt::StrongFocus);
    setAttribute(Qt::WA_Hover);
    setFont(fontOf(TextStyle::body));
    if (action) connect(this, &QAbstractButton::clicked, this, std::move(action));
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

void Button::keyPressEvent(QKeyEvent* event) {
    const bool isEnter = event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter;
    if (isEnter && !event->isAutoRepeat()) {
        click();
    } else {
        QAbstractButton::keyPressEvent(event);
    }
}

IconButton::IconButton(Icon icon, const QString& toolTip, std::function<void()> action)
    : Button(std::move(action)), icon_(icon) {
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
    ControlPainter painter(this);
    if (isHot()) painter.fill(rect(), kIconButtonRadius, theme().pressed);
    QRect place(0, 0, Theme::kIcon, Theme::kIcon);
    place.moveCenter(rect().center());
    drawIcon(painter, icon_, place, isHot() ? theme().text : theme().secondary);
    if (showsFocus()) painter.drawFocusRing(rect(), kIconButtonRadius);
}

PushButton::PushButton(const QString& text, Kind kind, std::function<void()> action)
    : Button(std::move(action)), kind_(kind) {
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
    ControlPainter painter(this);
    const Theme& t = theme();
    const QRectF face = edgeOf(rect());
    if (kind_ == Kind::primary) painter.fill(face, Theme::kControlRadius, t.accent);
    if (kind_ == Kind::plain || kind_ == Kind::destructive) painter.fillOutlined(face, Theme::kControlRadius, t.raised);
    if (kind_ != Kind::link && isHot()) painter.fill(face, Theme::kControlRadius, t.pressed);
    QFont lettering = font();
    lettering.setUnderline(kind_ == Kind::link && isHot());
    painter.setFont(lettering);
    painter.setPen(ink());
    painter.drawText(rect(), Qt::AlignCenter, text());
    if (showsFocus()) painter.drawFocusRing(rect(), Theme::kControlRadius);
}

DisclosureButton::DisclosureButton(const QString& title, std::function<void()> action) : Button(std::move(action)) {
    setText(title);
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
    setExpanded(false);
}

QSize DisclosureButton::sizeHint() const {
    return {Theme::kSmallIcon + kChevronGap + fontMetrics().horizontalAdvance(text()), forText(Theme::kTarget)};
}

void DisclosureButton::paintEvent(QPaintEvent*) {
    ControlPainter painter(this);
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
    if (showsFocus()) painter.drawFocusRing(rect(), kIconButtonRadius);
}

}  // namespace dravo::ui
