#pragma once

#include <QVariantAnimation>

#include "ui/controls/button.h"

namespace dravo::ui {

/// A switch. It shows what it is told: a click asks, and whoever owns the value decides what it then shows.
class ToggleSwitch : public Button {
    Q_OBJECT

public:
    enum class Size { regular, small };

    /// `name` is what a screen reader says; `onFlip` gets what the person wants.
    ToggleSwitch(Size size, const QString& name, const std::function<void(bool)>& onFlip);

    /// Moves the knob; at once if nobody sees it or the desktop wants no motion.
    void setOn(bool isOn);
    [[nodiscard]] QSize sizeHint() const override;

protected:
    void paintEvent(QPaintEvent* event) override;
    void nextCheckState() override {}

private:
    Size size_;
    QVariantAnimation knob_;
    qreal place_ = 0;  ///< 0 off .. 1 on
};

}  // namespace dravo::ui
