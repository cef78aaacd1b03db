#include "ui/controls/toggle_switch.h"

#include "ui/controls/control_painter.h"

namespace dravo::ui {

namespace {

constexpr int kMotionMilliseconds = 110;
constexpr qreal kKnobMargin = 2;

QSize trackOf(ToggleSwitch::Size size) { return size == ToggleSwitch::Size::regular ? QSize(36, 20) : QSize(30, 17); }

}  // namespace

ToggleSwitch::ToggleSwitch(Size size, const QString& name, const std::function<void(bool)>& onFlip)
    : Button([this, onFlip] { onFlip(!isChecked()); }), size_(size) {
    setCheckable(true);
    setAccessibleName(name);
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
    knob_.setDuration(kMotionMilliseconds);
    knob_.setEasingCurve(QEasingCurve::InOutQuad);
    connect(&knob_, &QVariantAnimation::valueChanged, this, [this](const QVariant& place) {
        place_ = place.toReal();
        update();
    });
}

QSize ToggleSwitch::sizeHint() const {
    // As wide as its track, so that it ends where the panel's text ends; as high as what can be hit.
    return {trackOf(size_).width(), Theme::kTarget};
}

void ToggleSwitch::setOn(bool isOn) {
    const bool wasOn = isChecked();
    setChecked(isOn);
    const qreal goal = isOn ? 1 : 0;
    if (wasOn != isOn && isVisible() && !theme().reducedMotion) {
        knob_.stop();
        knob_.setStartValue(place_);
        knob_.setEndValue(goal);
        knob_.start();
    } else if (knob_.state() != QAbstractAnimation::Running || knob_.endValue().toReal() != goal) {
        knob_.stop();
        place_ = goal;
        update();
    }
}

void ToggleSwitch::paintEvent(QPaintEvent*) {
    ControlPainter painter(this);
    const Theme& t = theme();
    QRectF track(QPointF(0, 0), trackOf(size_));
    track.moveTop((height() - track.height()) / 2);
    const qreal radius = track.height() / 2;
    painter.fill(track, radius, t.pressed);
    if (place_ > 0) {
        QColor fill = t.accent;
        fill.setAlphaF(static_cast<float>(place_));
        painter.fill(track, radius, fill);
    }
    if (isHot()) painter.fill(track, radius, t.hairline);
    const qreal side = track.height() - 2 * kKnobMargin;
    const qreal way = track.width() - 2 * kKnobMargin - side;
    const qreal left = kKnobMargin + way * (isRightToLeft() ? 1 - place_ : place_);
    painter.drawKnob(QRectF(left, track.top() + kKnobMargin, side, side));
    if (showsFocus()) painter.drawFocusRing(track, radius - 1);
}

}  // namespace dravo::ui
