#include "ui/views/footer_view.h"

#include "ui/controls/layout.h"
#include "ui/texts.h"

namespace dravo::ui {

FooterView::FooterView(const PanelParts& parts, std::function<void()> toggleSettings) : View(parts) {
    auto* const row = layOut<QHBoxLayout>(this, Theme::kGap);
    settings_ = new IconButton(Icon::settings, text("Settings"), this);
    settings_->onClick(std::move(toggleSettings));
    auto* const quit = new IconButton(Icon::quit, text("Quit Dravo"), this);
    // In a turn of its own: quitting takes this button away.
    quit->onClick([this] { parts_.scheduler.post(parts_.quit); });
    row->addWidget(settings_);
    row->addStretch();
    row->addWidget(quit);
}

}  // namespace dravo::ui
