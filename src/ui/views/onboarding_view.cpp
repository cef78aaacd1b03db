#include "ui/views/onboarding_view.h"

#include <QHBoxLayout>

#include "ui/controls/button.h"
#include "ui/controls/layout.h"
#include "ui/texts.h"

namespace dravo::ui {

namespace {

constexpr int kSymbol = 36;

Label* addFeature(QVBoxLayout* column, Icon icon, const QString& what) {
    auto* const row = bare<QHBoxLayout>(Theme::kGap);
    row->addWidget(new IconMark(icon, Theme::kIcon, Tone::secondary), 0, Qt::AlignTop);
    auto* const label = (new Label(what, TextStyle::caption))->wrapped();
    row->addWidget(label, 1);
    column->addLayout(row);
    return label;
}

}  // namespace

OnboardingView::OnboardingView(const PanelParts& parts, std::function<void()> onDismiss) : View(parts) {
    auto* const column = layOut<QVBoxLayout>(this, Theme::kBlockGap);
    column->setContentsMargins(Theme::kPadding, Theme::kPadding, Theme::kPadding, Theme::kPadding);
    column->addWidget(new IconMark(Icon::eye, kSymbol, Tone::accent), 0, Qt::AlignHCenter);
    auto* const title = (new Label(text("Welcome to Dravo"), TextStyle::headline))->wrapped();
    title->setAlignment(Qt::AlignHCenter);
    column->addWidget(title);

    auto* const features = bare<QVBoxLayout>(Theme::kGap);
    addFeature(features, Icon::presets, text("Science-backed filters that reduce migraine-triggering wavelengths"));
    addFeature(features, Icon::adjustments, text("Adjust intensity, dimming, contrast, and more"));
    shortcut_ = addFeature(features, Icon::keyboard, {});
    column->addLayout(features);

    auto* const hint =
        (new Label(text("Click the menu bar icon anytime to adjust your filter."), TextStyle::caption, Tone::secondary))
            ->wrapped();
    hint->setAlignment(Qt::AlignHCenter);
    column->addWidget(hint);
    column->addWidget(new PushButton(text("Get Started"), PushButton::Kind::primary, std::move(onDismiss)), 0,
                      Qt::AlignHCenter);
}

void OnboardingView::refresh() {
    const auto& preferences = parts_.preferences;
    const QString sentence = text("Toggle with %@ from anywhere");
    const auto* const desktops = parts_.shortcutManager.service().desktopKeys();
    if (desktops) {
        shortcut_->setText(desktops->keys.empty()
                               ? text("Toggle from anywhere with a key that you bind in your desktop's settings")
                               : filled(sentence, toQt(desktops->keys)));
        return;
    }
    const auto shortcut =
        shortcutText(preferences.shortcutKeyCode(), preferences.shortcutModifiers(), shortcut_->font());
    shortcut_->setText(filled(sentence, shortcut.shown));
    shortcut_->setAccessibleName(filled(sentence, shortcut.spoken));
}

}  // namespace dravo::ui
