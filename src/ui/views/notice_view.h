#pragma once

#include <optional>

#include "app/app_language.h"
#include "ui/controls/card.h"
#include "ui/views/view.h"

namespace dravo::ui {

/// What the program has to ask or tell by itself, at the top of the panel: whether to start again in another language,
/// and what the check for updates found. Still there when the panel opens again.
class NoticeView : public View {
public:
    explicit NoticeView(const PanelParts& parts);
    void refresh() override;

    /// Asks whether to start again for this language.
    void askForRelaunch(AppLanguage language);

    /// Closes the foremost card. False if there is none.
    bool closeInnermost();

private:
    void showRelaunch();
    bool showUpdate();

    Card* relaunch_;
    Card* update_;
    std::optional<AppLanguage> newLanguage_;
};

}  // namespace dravo::ui
