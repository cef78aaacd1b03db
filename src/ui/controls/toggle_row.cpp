#include "ui/controls/toggle_row.h"

#include "ui/controls/label.h"
#include "ui/controls/layout.h"

namespace dravo::ui {

ToggleRow::ToggleRow(const QString& title, QWidget* parent) : QWidget(parent) {
    auto* const row = layOut<QHBoxLayout>(this, Theme::kGap);
    row->addWidget((new Label(title, TextStyle::body))->wrapped(), 1);
    switch_ = new ToggleSwitch(ToggleSwitch::Size::small, title, this);
    row->addWidget(switch_);
}

void ToggleRow::onFlip(std::function<void(bool)> action) {
    switch_->onClick([this, act = std::move(action)] { act(!switch_->isChecked()); });
}

}  // namespace dravo::ui
