#pragma once

#include <QWidget>
#include <functional>

#include "ui/controls/toggle_switch.h"

namespace dravo::ui {

/// A line of text with a small switch at its end.
class ToggleRow : public QWidget {
    Q_OBJECT

public:
    /// `onFlip` gets what the person wants.
    ToggleRow(const QString& title, const std::function<void(bool)>& onFlip);

    void setOn(bool isOn) { switch_->setOn(isOn); }

private:
    ToggleSwitch* switch_;
};

}  // namespace dravo::ui
