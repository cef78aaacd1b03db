#include "ui/views/footer_view.h"

#include "ui/controls/layout.h"
#include "ui/texts.h"

namespace dravo::ui {

FooterView::FooterView(const PanelParts& parts, std::function<void()> toggleSettings) : View(parts) {
    settings_ = new IconButton(Icon::settings, text("Settings"), std::move(toggleSettings));
    auto* const row = layOut<QHBoxLayout>(this, Theme::kGap);
    row->addWidget(settings_);
    row->addStretch();
    // In a turn of its own: quitting takes this button away.
    row->addWidget(new IconButton(Icon::quit, text("Quit Dravo"), [this] { parts_.scheduler.post(parts_.quit); }));
}

}  // namespace dravo::ui
