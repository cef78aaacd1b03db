#include "ui/views/menu_bar_view.h"

#include "ui/controls/layout.h"
#include "ui/views/break_timer_view.h"
#include "ui/views/filter_views.h"
#include "ui/views/onboarding_view.h"

namespace dravo::ui {

MenuBarView::MenuBarView(const PanelParts& parts)
    : View(parts),
      editing_({parts.filterState, parts.customPresetStore, parts.applicator, parts.grayscale, parts.scheduler}) {
    setFixedWidth(forText(Theme::kPanelWidth));
    auto* const column = layOut<QVBoxLayout>(this, Theme::kBlockGap);
    column->setContentsMargins(0, Theme::kPadding, 0, Theme::kPadding);

    notices_ = new NoticeView(parts);
    add(notices_);
    onboarding_ = new OnboardingView(parts, [this] {
        parts_.preferences.setHasSeenOnboarding(true);
        refresh();
    });
    add(onboarding_);

    picker_ = new PresetPickerView(parts, editing_);
    auto* const quickToggle = new QuickToggleView(parts);
    always_ = {quickToggle, picker_};
    auto* const intensity = new AdjustmentView(parts, AdjustmentView::Kind::intensity);
    auto* const melanopic = new MelanopicIndicatorView(parts);
    auto* const dimming = new DimmingControlView(parts);
    auto* const breaks = new BreakTimerView(parts);
    footer_ = new FooterView(parts, [this] {
        showSettings_ = !showSettings_;
        refresh();
    });
    auto* const breaksEdge = new Divider;
    auto* const footerEdge = new Divider;
    whileNoEditor_ = {intensity, melanopic, dimming, breaksEdge, breaks, footerEdge, footer_};
    settings_ = new SettingsView(parts, [this](AppLanguage language) { notices_->askForRelaunch(language); });
    settingsEdge_ = new Divider;
    views_ = {quickToggle, picker_, intensity, melanopic, dimming, breaks, footer_, settings_};
    for (auto* const widget : always_) add(widget);
    for (auto* const widget : whileNoEditor_) add(widget);
    add(settingsEdge_);
    add(settings_);
    watch();
}

// A divider reaches the panel's edges.
void MenuBarView::add(QWidget* widget) {
    const bool isDivider = qobject_cast<Divider*>(widget) != nullptr;
    if (!isDivider) widget->setContentsMargins(Theme::kPadding, 0, Theme::kPadding, 0);
    layout()->addWidget(widget);
}

void MenuBarView::watch() {
    for (const auto* const changes :
         {&parts_.filterState.changes(), &parts_.preferences.changes(), &parts_.breakNotifier.changes(),
          &parts_.locationProvider.changes(), &editing_.changes(), static_cast<const Observable*>(&parts_.updater)}) {
        subscriptions_.push_back(changes->onWillChange([this] { markStale(); }));
    }
    subscriptions_.push_back(parts_.displays.onListChange([this] { markStale(); }));
    subscriptions_.push_back(parts_.shortcutManager.service().onDesktopKeysChange([this] { markStale(); }));
    subscriptions_.push_back(parts_.calendar.onZoneChange([this] { markStale(); }));
}

void MenuBarView::markStale() {
    if (!isVisible() || update_.isPending()) return;
    update_ = parts_.scheduler.after(Duration::zero(), [this] {
        if (isVisible()) refresh();
    });
}

void MenuBarView::refresh() {
    const bool isWelcome = !parts_.preferences.hasSeenOnboarding();
    const bool hasEditor = editing_.isOpen();
    notices_->refresh();
    if (isWelcome) {
        onboarding_->refresh();
    } else {
        for (auto* const view : views_) view->refresh();
    }
    // First what goes, then what comes: the panel must not grow in between.
    onboarding_->setVisible(isWelcome);
    const bool hasSettings = !isWelcome && !hasEditor && showSettings_;
    settingsEdge_->setVisible(hasSettings);
    settings_->setVisible(hasSettings);
    footer_->setShowsSettings(showSettings_);
    for (auto* const widget : whileNoEditor_) widget->setVisible(!isWelcome && !hasEditor);
    for (auto* const widget : always_) widget->setVisible(!isWelcome);
}

bool MenuBarView::closeInnermost() { return notices_->closeInnermost() || picker_->closeInnermost(); }

}  // namespace dravo::ui
