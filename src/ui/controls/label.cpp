#include "ui/controls/label.h"

#include <QPainter>
#include <QTextBoundaryFinder>
#include <algorithm>
#include <cmath>
#include <vector>

namespace dravo::ui {

namespace {

/// Calls `visit` with each part of `text` behind which a line may end, the space there included.
template <typename Visit>
void forEachWord(const QString& text, Visit visit) {
    QTextBoundaryFinder ends(QTextBoundaryFinder::Line, text);
    for (auto from = ends.position(); ends.toNextBoundary() >= 0; from = ends.position())
        visit(text.mid(from, ends.position() - from));
}

}  // namespace

Label::Label(const QString& text, TextStyle style, Tone tone) : QLabel(text) {
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

int longestWordOf(const QString& text, const QFontMetrics& metrics) {
    int width = 0;
    forEachWord(text, [&](const QString& word) { width = std::max(width, metrics.horizontalAdvance(word.trimmed())); });
    return width;
}

int Label::twoLineWidth() const {
    const QFontMetricsF metrics(font());
    qreal whole = 0;
    std::vector<qreal> lineEnds;
    forEachWord(text(), [&](const QString& word) { lineEnds.push_back(whole += metrics.horizontalAdvance(word)); });
    qreal width = whole;
    for (const qreal end : lineEnds) width = std::min(width, std::max(end, whole - end));
    return static_cast<int>(std::ceil(width)) + 1;
}

QSize Label::minimumSizeHint() const {
    return wordWrap() ? QSize(0, fontMetrics().height()) : QLabel::minimumSizeHint();
}

FigureLabel::FigureLabel(TextStyle style, Tone tone) : Label({}, style, tone) {
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

IconMark::IconMark(Icon icon, int side, Tone tone) : icon_(icon), side_(side), tone_(tone) {
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
}

void IconMark::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    drawIcon(painter, icon_, QRect(0, 0, side_, side_), palette().color(roleOf(tone_)));
}

Divider::Divider() { setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed); }

void Divider::paintEvent(QPaintEvent*) { QPainter(this).fillRect(rect(), theme().hairline); }

}  // namespace dravo::ui
