#pragma once

#include "app/app_language.h"
#include "ui/controls/label.h"
#include "ui/controls/menu_button.h"
#include "ui/controls/toggle_row.h"
#include "ui/views/view.h"

namespace dravo::ui {

class ScheduleView;
class ShortcutView;

/// The few settings, unfolded below the footer. What the desktop keeps for us is read whenever it opens.
class SettingsView : public View {
public:
    /// `onLanguage` is called with a language that differs from the one chosen before, once it has been stored.
    SettingsView(const PanelParts& parts, std::function<void(AppLanguage)> onLanguage);
    void refresh() override;

protected:
    void appeared() override;

private:
    [[nodiscard]] QWidget* makeLanguageRow();
    void choose(AppLanguage language);
    void showLogin(const Result<void>& changed);

    ToggleRow* launchAtLogin_;
    Label* loginProblem_;
    ShortcutView* shortcut_;
    ScheduleView* schedule_;
    MenuButton* language_ = nullptr;
    AppLanguage chosenLanguage_;
    std::function<void(AppLanguage)> onLanguage_;
};

}  // namespace dravo::ui
