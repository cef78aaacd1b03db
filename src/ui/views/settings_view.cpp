#include "ui/views/settings_view.h"

#include "app/updater_bridge.h"
#include "ui/controls/layout.h"
#include "ui/controls/row.h"
#include "ui/texts.h"
#include "ui/views/doctor_view.h"
#include "ui/views/schedule_view.h"
#include "ui/views/shortcut_recorder_view.h"

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
    shortcut_ = new ToggleRow(text("Global Shortcut"), [this](bool isOn) { parts_.shortcutManager.setEnabled(isOn); });
    column->addWidget(shortcut_);
    shortcutRow_ = makeShortcutRow();
    column->addWidget(shortcutRow_);
    schedule_ = new ScheduleView(parts);
    column->addWidget(schedule_);
    column->addWidget(makeLanguageRow());
    auto* const check = new PushButton(text("Check for Updates…"), PushButton::Kind::plain, [] {
        if (const auto& act = UpdaterBridge::shared().checkForUpdates) act();
    });
    column->addWidget(check, 0, Qt::AlignLeft);
    column->addWidget(new DoctorView(parts));
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

QWidget* SettingsView::makeShortcutRow() {
    recorder_ = new RecorderButton(parts_);
    auto* const reset = new IconButton(Icon::reset, text("Reset to Control Shift E"), [this] {
        recorder_->cancel();
        parts_.shortcutManager.resetToDefault();
    });
    return rowOf({recorder_, reset});
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
    const bool isEnabled = parts_.preferences.shortcutEnabled();
    shortcut_->setOn(isEnabled);
    recorder_->refresh();
    shortcutRow_->setVisible(isEnabled);
    schedule_->refresh();
    language_->setChoice(toQt(chosenLanguage_.displayName()));
}

}  // namespace dravo::ui
