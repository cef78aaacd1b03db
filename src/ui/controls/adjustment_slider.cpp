#include "ui/controls/adjustment_slider.h"

#include <QAccessible>
#include <QKeyEvent>
#include <algorithm>
#include <cmath>

#include "ui/controls/control_painter.h"

namespace dravo::ui {

namespace {

constexpr qreal kKnob = 16;
constexpr qreal kTrack = 4;
constexpr int kNotch = 120;

}  // namespace

AdjustmentSlider::AdjustmentSlider(AdjustmentRange range, Steps steps, const QString& name,
                                   std::function<void(double)> onInput)
    : range_(range), steps_(steps), onInput_(std::move(onInput)) {
    setAccessibleName(name);
    setFocusPolicy(Qt::StrongFocus);  // not by the wheel: it would take over the scrolling
    setAttribute(Qt::WA_Hover);
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
}

void AdjustmentSlider::setValue(double value, const QString& valueText) {
    if (value == value_ && valueText == valueText_) return;
    value_ = value;
    valueText_ = valueText;
    update();
    QAccessibleValueChangeEvent event(this, value);
    QAccessible::updateAccessibility(&event);
}

void AdjustmentSlider::input(double value) {
    if (!std::isfinite(value)) return;
    // What comes before the next redraw starts from here.
    value_ = std::clamp(value, range_.lowest, range_.highest);
    update();
    onInput_(value_);
}

// The knob's centre keeps half a knob of distance from the ends.
qreal AdjustmentSlider::xOf(double value) const {
    const double share = std::clamp((value - range_.lowest) / (range_.highest - range_.lowest), 0.0, 1.0);
    const qreal x = kKnob / 2 + share * (width() - kKnob);
    return isRightToLeft() ? width() - x : x;
}

double AdjustmentSlider::valueAt(qreal x) const {
    const qreal fromStart = isRightToLeft() ? width() - x : x;
    const double share = std::clamp((fromStart - kKnob / 2) / (width() - kKnob), 0.0, 1.0);
    return range_.lowest + share * (range_.highest - range_.lowest);
}

void AdjustmentSlider::paintEvent(QPaintEvent*) {
    ControlPainter painter(this);
    const Theme& t = theme();
    const qreal middle = height() / 2.0;
    const QRectF track(0, middle - kTrack / 2, width(), kTrack);
    painter.fill(track, kTrack / 2, t.pressed);
    // A range with both signs fills from its zero.
    const bool hasSigns = range_.lowest < 0 && range_.highest > 0;
    const qreal edge = isRightToLeft() ? width() : 0;
    const qreal from = hasSigns ? xOf(0) : edge;
    const qreal to = xOf(value_);
    painter.fill(QRectF(QPointF(std::min(from, to), track.top()), QPointF(std::max(from, to), track.bottom())),
                 kTrack / 2, t.accent);
    const QRectF knob(to - kKnob / 2, middle - kKnob / 2, kKnob, kKnob);
    if (isEnabled() && (isDragging_ || underMouse())) {
        painter.setBrush(t.pressed);
        painter.drawEllipse(knob.adjusted(-2, -2, 2, 2));
    }
    painter.drawKnob(knob);
    if (focus_.isShown()) painter.drawFocusRing(knob.adjusted(-2, -2, 2, 2), kKnob / 2 + 1);
}

void AdjustmentSlider::mousePressEvent(QMouseEvent* event) {
    if (event->button() != Qt::LeftButton) return;
    isDragging_ = true;
    const qreal x = event->position().x();
    const qreal off = x - xOf(value_);
    grip_ = std::abs(off) <= kKnob / 2 ? off : 0;
    if (grip_ == 0) input(valueAt(x));
    update();
}

void AdjustmentSlider::mouseMoveEvent(QMouseEvent* event) {
    if (isDragging_) input(valueAt(event->position().x() - grip_));
}

void AdjustmentSlider::mouseReleaseEvent(QMouseEvent*) {
    isDragging_ = false;
    update();
}

void AdjustmentSlider::mouseDoubleClickEvent(QMouseEvent* event) {
    if (event->button() == Qt::LeftButton && resetValue_) input(resetValue_());
}

void AdjustmentSlider::wheelEvent(QWheelEvent* event) {
    if (!hasFocus()) {
        event->ignore();  // the panel scrolls
        return;
    }
    wheelTurn_ += event->angleDelta().y();
    const int notches = wheelTurn_ / kNotch;
    wheelTurn_ -= notches * kNotch;
    if (notches != 0) stepBy(steps_.small, notches);
    event->accept();
}

// To whole steps, so that going up and down again ends where it began.
void AdjustmentSlider::stepBy(double step, int count) {
    const double at = value_ / steps_.small;
    const double whole = std::round(at);
    const double way = std::round(step / steps_.small) * count;
    const double base = std::abs(at - whole) < 1e-6 ? whole : count > 0 ? std::floor(at) : std::ceil(at);
    input((base + way) * steps_.small);
}

void AdjustmentSlider::keyPressEvent(QKeyEvent* event) {
    const int forward = isRightToLeft() ? -1 : 1;
    switch (event->key()) {
        case Qt::Key_Right:
            return stepBy(steps_.small, forward);
        case Qt::Key_Left:
            return stepBy(steps_.small, -forward);
        case Qt::Key_Up:
            return stepBy(steps_.small, 1);
        case Qt::Key_Down:
            return stepBy(steps_.small, -1);
        case Qt::Key_PageUp:
            return stepBy(steps_.large, 1);
        case Qt::Key_PageDown:
            return stepBy(steps_.large, -1);
        case Qt::Key_Home:
            return input(range_.lowest);
        case Qt::Key_End:
            return input(range_.highest);
        default:
            QWidget::keyPressEvent(event);
    }
}

}  // namespace dravo::ui
