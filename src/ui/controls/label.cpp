#include "ui/controls/label.h"

#include <QPainter>
#include <QTextBoundaryFinder>
#include <algorithm>

namespace dravo::ui {

QPalette::ColorRole roleOf(Tone tone) {
    switch (tone) {
        case Tone::secondary:
            return QPalette::PlaceholderText;
        case Tone::accent:
            return QPalette::Link;
        case Tone::green:
            return QPalette::BrightText;
        case Tone::orange:
            return QPalette::LinkVisited;
        case Tone::red:
            return QPalette::Midlight;
        case Tone::plain:
            break;
    }
    return QPalette::WindowText;
}

Label::Label(const QString& text, TextStyle style, Tone tone, QWidget* parent) : QLabel(text, parent) {
    setTextFormat(Qt::PlainText);
    setFont(fontOf(style));
    setTone(tone);
}

void Label::setTone(Tone tone) {
    if (foregroundRole() != roleOf(tone)) setForegroundRole(roleOf(tone));
}

Label* Label::wrapped() {
    setWordWrap(true);
    QSizePolicy policy(QSizePolicy::Expanding, QSizePolicy::Preferred);
    policy.setHeightForWidth(true);
    setSizePolicy(policy);
    return this;
}

int Label::longestWord() const {
    int width = 0;
    const QString all = text();
    QTextBoundaryFinder breaks(QTextBoundaryFinder::Line, all);
    for (auto from = breaks.position(); breaks.toNextBoundary() >= 0; from = breaks.position())
        width = std::max(width, fontMetrics().horizontalAdvance(all.mid(from, breaks.position() - from).trimmed()));
    return width;
}

QSize Label::minimumSizeHint() const {
    return wordWrap() ? QSize(0, fontMetrics().height()) : QLabel::minimumSizeHint();
}

FigureLabel::FigureLabel(TextStyle style, Tone tone, QWidget* parent) : Label({}, style, tone, parent) {
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
}

int FigureLabel::cellOf(QChar character) const {
    const QFontMetrics metrics = fontMetrics();
    if (!character.isDigit()) return metrics.horizontalAdvance(character);
    int widest = 0;
    const char16_t zero = static_cast<char16_t>(character.unicode() - character.digitValue());
    for (int digit = 0; digit < 10; ++digit)
        widest = std::max(widest, metrics.horizontalAdvance(QChar(static_cast<char16_t>(zero + digit))));
    return widest;
}

// Letters and marks of writing from right to left have to be set as a whole.
bool FigureLabel::needsCells() const { return !text().isRightToLeft() && text().size() < 16; }

QSize FigureLabel::sizeHint() const {
    if (!needsCells()) return Label::sizeHint();
    int width = 0;
    for (const QChar character : text()) width += cellOf(character);
    return {width, fontMetrics().height()};
}

void FigureLabel::paintEvent(QPaintEvent* event) {
    if (!needsCells()) {
        Label::paintEvent(event);
        return;
    }
    QPainter painter(this);
    painter.setPen(palette().color(foregroundRole()));
    int x = isRightToLeft() ? 0 : width() - sizeHint().width();
    for (const QChar character : text()) {
        const int cell = cellOf(character);
        painter.drawText(QRect(x, 0, cell, height()), Qt::AlignCenter, QString(character));
        x += cell;
    }
}

IconMark::IconMark(Icon icon, int side, Tone tone, QWidget* parent)
    : QWidget(parent), icon_(icon), side_(side), tone_(tone) {
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
}

void IconMark::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    drawIcon(painter, icon_, QRect(0, 0, side_, side_), palette().color(roleOf(tone_)));
}

Divider::Divider(QWidget* parent) : QWidget(parent) { setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed); }

void Divider::paintEvent(QPaintEvent*) { QPainter(this).fillRect(rect(), theme().hairline); }

}  // namespace dravo::ui
