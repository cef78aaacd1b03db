#include "ui/views/settings_view.h"

#include "app/updater_bridge.h"
#include "ui/controls/layout.h"
#include "ui/controls/row.h"
#include "ui/texts.h"
#include "ui/views/schedule_view.h"
#include "ui/views/shortcut_view.h"

namespace dravo::ui {

namespace {

constexpr int kLanguageWidth = 150;

}  // namespace

SettingsView::SettingsView(const PanelParts& parts, std::function<void(AppLanguage)> onLanguage)
    : View(parts), chosenLanguage_(AppLanguage::current(parts.preferences)), onLanguage_(std::move(onLanguage)) {
    auto* const column = layOut<QVBoxLayout>(this, Theme::kGap);
    launchAtLogin_ =
        new ToggleRow(text("Launch at Login"), [this](bool isOn) { showLogin(parts_.launchAtLogin.setEnabled(isOn)); });
    column->addWidget(launchAtLogin_);
    loginProblem_ = new Label({}, TextStyle::caption, Tone::orange);
    column->addWidget(loginProblem_->wrapped());
    shortcut_ = new ShortcutView(parts);
    column->addWidget(shortcut_);
    schedule_ = new ScheduleView(parts);
    column->addWidget(schedule_);
    column->addWidget(makeLanguageRow());
    auto* const check = new PushButton(text("Check for Updates…"), PushButton::Kind::plain, [] {
        if (const auto& act = UpdaterBridge::shared().checkForUpdates) act();
    });
    column->addWidget(check, 0, Qt::AlignLeft);
}

QWidget* SettingsView::makeLanguageRow() {
    language_ = new MenuButton(MenuButton::Size::regular, text("Language"), [this] {
        std::vector<MenuLine> lines;
        for (const AppLanguage language : AppLanguage::all()) {
            lines.push_back({.text = toQt(language.displayName()),
                             .isCurrent = language == chosenLanguage_,
                             .choose = [this, language] { choose(language); }});
        }
        return lines;
    });
    language_->setMinimumWidth(forText(kLanguageWidth));
    language_->setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
    return rowOf({new Label(text("Language"), TextStyle::body), nullptr, language_});
}

void SettingsView::choose(AppLanguage language) {
    if (language == chosenLanguage_) return;
    chosenLanguage_ = language;
    language.apply(parts_.preferences);
    onLanguage_(language);
    refresh();
}

void SettingsView::appeared() {
    showLogin({});
    chosenLanguage_ = AppLanguage::current(parts_.preferences);
    refresh();
}

void SettingsView::showLogin(const Result<void>& changed) {
    launchAtLogin_->setOn(parts_.launchAtLogin.isEnabled());
    loginProblem_->setText(changed ? QString() : toQt(localized(changed.error().message)));
    loginProblem_->setVisible(!changed);
}

void SettingsView::refresh() {
    shortcut_->refresh();
    schedule_->refresh();
    language_->setChoice(toQt(chosenLanguage_.displayName()));
}

}  // namespace dravo::ui
