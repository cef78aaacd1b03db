#pragma once

#include <QWidget>
#include <functional>

#include "ui/controls/toggle_switch.h"

namespace dravo::ui {

/// A line of text with a small switch at its end.
class ToggleRow : public QWidget {
    Q_OBJECT

public:
    explicit ToggleRow(const QString& title, QWidget* parent = nullptr);

    void setOn(bool isOn) { switch_->setOn(isOn); }
    /// `action` gets what the person wants.
    void onFlip(std::function<void(bool)> action);

private:
    ToggleSwitch* switch_;
};

}  // namespace dravo::ui
