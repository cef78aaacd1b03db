#pragma once

#include "ui/controls/label.h"
#include "ui/controls/menu_button.h"
#include "ui/controls/toggle_row.h"
#include "ui/views/view.h"

namespace dravo::ui {

/// The reminder to rest the eyes: its switch, its interval, and the break that is on.
class BreakTimerView : public View {
public:
    explicit BreakTimerView(const PanelParts& parts);
    void refresh() override;

protected:
    void appeared() override;

private:
    [[nodiscard]] QWidget* makeIntervalRow();
    [[nodiscard]] QWidget* makeDeniedRow();
    [[nodiscard]] QWidget* makeBreakRow();
    [[nodiscard]] static QString intervalText(std::chrono::minutes interval);

    ToggleRow* header_;
    MenuButton* interval_ = nullptr;
    FigureLabel* remaining_ = nullptr;
    FigureLabel* breakLeft_ = nullptr;
    QWidget* intervalRow_;
    QWidget* deniedRow_;
    QWidget* breakRow_;
};

}  // namespace dravo::ui
