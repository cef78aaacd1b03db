#include "ui/views/settings_view.h"

#include "ui/controls/layout.h"
#include "ui/texts.h"
#include "ui/views/schedule_view.h"
#include "ui/views/shortcut_recorder_view.h"

namespace dravo::ui {

SettingsView::SettingsView(const PanelParts& parts) : View(parts) {
    auto* const column = layOut<QVBoxLayout>(this, Theme::kGap);
    launchAtLogin_ = new ToggleRow(text("Launch at Login"), this);
    launchAtLogin_->onFlip([this](bool isOn) {
        // The switch shows what was asked for until the section opens again.
        launchAtLogin_->setOn(isOn);
        parts_.launchAtLogin.setEnabled(isOn);
    });
    column->addWidget(launchAtLogin_);
    shortcut_ = new ToggleRow(text("Global Shortcut"), this);
    shortcut_->onFlip([this](bool isOn) { parts_.shortcutManager.setEnabled(isOn); });
    column->addWidget(shortcut_);
    shortcutRow_ = makeShortcutRow();
    column->addWidget(shortcutRow_);
    schedule_ = new ScheduleView(parts);
    column->addWidget(schedule_);
}

QWidget* SettingsView::makeShortcutRow() {
    auto* const widget = new QWidget(this);
    auto* const row = layOut<QHBoxLayout>(widget, Theme::kGap);
    recorder_ = new RecorderButton(parts_, widget);
    row->addWidget(recorder_);
    auto* const reset = new IconButton(Icon::reset, text("Reset to Control Shift E"), widget);
    reset->onClick([this] {
        recorder_->cancel();
        parts_.shortcutManager.resetToDefault();
    });
    row->addWidget(reset);
    row->addStretch();
    return widget;
}

void SettingsView::showEvent(QShowEvent* event) {
    View::showEvent(event);
    if (!event->spontaneous()) launchAtLogin_->setOn(parts_.launchAtLogin.isEnabled());
}

void SettingsView::refresh() {
    const bool isEnabled = parts_.preferences.shortcutEnabled();
    shortcut_->setOn(isEnabled);
    recorder_->refresh();
    shortcutRow_->setVisible(isEnabled);
    schedule_->refresh();
}

}  // namespace dravo::ui
