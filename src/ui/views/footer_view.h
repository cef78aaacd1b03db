#pragma once

#include <functional>

#include "ui/controls/button.h"
#include "ui/views/view.h"

namespace dravo::ui {

/// The panel's last row: settings and quit.
class FooterView : public View {
public:
    FooterView(const PanelParts& parts, std::function<void()> toggleSettings);
    void refresh() override {}
    void setShowsSettings(bool showsSettings) { settings_->setExpanded(showsSettings); }

private:
    IconButton* settings_;
};

}  // namespace dravo::ui
