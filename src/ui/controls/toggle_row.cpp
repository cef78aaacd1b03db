#include "ui/controls/toggle_row.h"

#include "ui/controls/label.h"
#include "ui/controls/layout.h"

namespace dravo::ui {

ToggleRow::ToggleRow(const QString& title, const std::function<void(bool)>& onFlip) {
    auto* const row = layOut<QHBoxLayout>(this, Theme::kGap);
    row->addWidget((new Label(title, TextStyle::body))->wrapped(), 1);
    switch_ = new ToggleSwitch(ToggleSwitch::Size::small, title, onFlip);
    row->addWidget(switch_);
}

}  // namespace dravo::ui
