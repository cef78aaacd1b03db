#pragma once

#include "ui/controls/card.h"
#include "ui/controls/toggle_row.h"
#include "ui/views/view.h"

namespace dravo::ui {

class RecorderButton;
class ScheduleView;

/// The few settings, unfolded below the footer. What the desktop keeps for us is read whenever it opens.
class SettingsView : public View {
public:
    explicit SettingsView(const PanelParts& parts);
    void refresh() override;

protected:
    void showEvent(QShowEvent* event) override;

private:
    [[nodiscard]] QWidget* makeShortcutRow();

    ToggleRow* launchAtLogin_;
    ToggleRow* shortcut_;
    RecorderButton* recorder_ = nullptr;
    QWidget* shortcutRow_;
    ScheduleView* schedule_;
};

}  // namespace dravo::ui
