#pragma once

#include <vector>

#include "app/preset_editing.h"
#include "ui/controls/label.h"
#include "ui/views/footer_view.h"
#include "ui/views/notice_view.h"
#include "ui/views/preset_picker_view.h"
#include "ui/views/settings_view.h"
#include "ui/views/view.h"

namespace dravo::ui {

/// The panel's whole content. It watches everything that the views show: a change marks it stale, and once a turn, only
/// while it can be seen, all views read the new values. Before it is shown, `refresh` is called.
class MenuBarView : public View {
public:
    explicit MenuBarView(const PanelParts& parts);

    void refresh() override;

    /// Escape: closes what is open inside, the innermost first. False if nothing is.
    bool closeInnermost();

private:
    void add(QWidget* widget);
    void watch();
    void markStale();

    PresetEditing editing_;
    View* onboarding_;
    NoticeView* notices_;
    PresetPickerView* picker_;
    FooterView* footer_;
    SettingsView* settings_;
    std::vector<View*> views_;      ///< all but the onboarding
    std::vector<QWidget*> always_;  ///< of the main content, what is there with the editor open, too
    std::vector<QWidget*> whileNoEditor_;
    QWidget* settingsEdge_;
    bool showSettings_ = false;
    Timer update_;
    std::vector<Subscription> subscriptions_;
};

}  // namespace dravo::ui
