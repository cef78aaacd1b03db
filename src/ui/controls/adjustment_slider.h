#pragma once

#include <QWidget>
#include <functional>

#include "filter/adjustment_ranges.h"
#include "ui/controls/button.h"

namespace dravo::ui {

/// A slider over real numbers. It shows the value that it is given, unrounded and unclamped in itself, and reports only
/// what a person does: by drag, keys, wheel while focused, double click, or assistive technology.
class AdjustmentSlider : public QWidget {
    Q_OBJECT

public:
    struct Steps {
        double small = 0.01;  ///< Arrow keys and one notch of the wheel.
        double large = 0.1;   ///< Page keys.
    };

    /// `onInput` gets every value that a person sets, within the range.
    AdjustmentSlider(AdjustmentRange range, Steps steps, const QString& name, std::function<void(double)> onInput);

    /// What it shows; `valueText` is what a screen reader says.
    void setValue(double value, const QString& valueText);
    /// The value that a double click sets.
    void setResetValue(std::function<double()> value) { resetValue_ = std::move(value); }

    [[nodiscard]] double value() const { return value_; }
    [[nodiscard]] const QString& valueText() const { return valueText_; }
    [[nodiscard]] AdjustmentRange range() const { return range_; }
    [[nodiscard]] Steps steps() const { return steps_; }

    /// What a person sets in another way than by the mouse; held to the range.
    void input(double value);

    [[nodiscard]] QSize sizeHint() const override { return {120, 20}; }

protected:
    void paintEvent(QPaintEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void mouseDoubleClickEvent(QMouseEvent* event) override;
    void wheelEvent(QWheelEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;

private:
    void stepBy(double step, int count);
    [[nodiscard]] qreal xOf(double value) const;
    [[nodiscard]] double valueAt(qreal x) const;

    AdjustmentRange range_;
    Steps steps_;
    double value_ = 0;
    QString valueText_;
    std::function<void(double)> onInput_;
    std::function<double()> resetValue_;
    KeyboardFocus focus_{this};
    bool isDragging_ = false;
    qreal grip_ = 0;     ///< where on the knob it was taken
    int wheelTurn_ = 0;  ///< eighths of a degree not yet turned into steps
};

}  // namespace dravo::ui
