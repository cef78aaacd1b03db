#pragma once

#include <functional>

#include "ui/views/view.h"

namespace dravo::ui {

/// The panel's last row: settings and quit.
class FooterView : public View {
public:
    FooterView(const PanelParts& parts, std::function<void()> toggleSettings);
    void refresh() override {}
};

}  // namespace dravo::ui
