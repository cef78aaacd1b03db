#include "ui/views/settings_view.h"

#include "app/updater_bridge.h"
#include "ui/controls/layout.h"
#include "ui/controls/row.h"
#include "ui/texts.h"
#include "ui/views/schedule_view.h"
#include "ui/views/shortcut_recorder_view.h"

namespace dravo::ui {

namespace {

constexpr int kLanguageWidth = 150;

}  // namespace

SettingsView::SettingsView(const PanelParts& parts, std::function<void(AppLanguage)> onLanguage)
    : View(parts), chosenLanguage_(AppLanguage::current(parts.preferences)), onLanguage_(std::move(onLanguage)) {
    auto* const column = layOut<QVBoxLayout>(this, Theme::kGap);
    launchAtLogin_ = new ToggleRow(text("Launch at Login"), this);
    launchAtLogin_->onFlip([this](bool isOn) { showLogin(parts_.launchAtLogin.setEnabled(isOn)); });
    column->addWidget(launchAtLogin_);
    loginProblem_ = new Label({}, TextStyle::caption, Tone::orange, this);
    column->addWidget(loginProblem_->wrapped());
    shortcut_ = new ToggleRow(text("Global Shortcut"), this);
    shortcut_->onFlip([this](bool isOn) { parts_.shortcutManager.setEnabled(isOn); });
    column->addWidget(shortcut_);
    shortcutRow_ = makeShortcutRow();
    column->addWidget(shortcutRow_);
    schedule_ = new ScheduleView(parts);
    column->addWidget(schedule_);
    column->addLayout(makeLanguageRow());
    auto* const check = new PushButton(text("Check for Updates…"), PushButton::Kind::plain, this);
    check->onClick([] {
        if (const auto& act = UpdaterBridge::shared().checkForUpdates) act();
    });
    column->addWidget(check, 0, Qt::AlignLeft);
}

QLayout* SettingsView::makeLanguageRow() {
    auto* const row = new Row;
    row->addWidget(new Label(text("Language"), TextStyle::body));
    row->addStretch();
    language_ = new MenuButton(MenuButton::Size::regular, text("Language"), this);
    language_->setMinimumWidth(forText(kLanguageWidth));
    language_->setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
    language_->setLines([this] {
        std::vector<MenuLine> lines;
        for (const AppLanguage language : AppLanguage::all()) {
            lines.push_back({.text = QString::fromStdString(language.displayName()),
                             .isCurrent = language == chosenLanguage_,
                             .choose = [this, language] { choose(language); }});
        }
        return lines;
    });
    row->addWidget(language_);
    return row;
}

void SettingsView::choose(AppLanguage language) {
    if (language == chosenLanguage_) return;
    chosenLanguage_ = language;
    language.apply(parts_.preferences);
    onLanguage_(language);
    refresh();
}

QWidget* SettingsView::makeShortcutRow() {
    auto* const widget = new QWidget(this);
    auto* const row = new Row(widget);
    recorder_ = new RecorderButton(parts_, widget);
    row->addWidget(recorder_);
    auto* const reset = new IconButton(Icon::reset, text("Reset to Control Shift E"), widget);
    reset->onClick([this] {
        recorder_->cancel();
        parts_.shortcutManager.resetToDefault();
    });
    row->addWidget(reset);
    return widget;
}

void SettingsView::showEvent(QShowEvent* event) {
    View::showEvent(event);
    if (event->spontaneous()) return;
    showLogin({});
    chosenLanguage_ = AppLanguage::current(parts_.preferences);
    refresh();
}

void SettingsView::showLogin(const Result<void>& changed) {
    launchAtLogin_->setOn(parts_.launchAtLogin.isEnabled());
    loginProblem_->setText(changed ? QString() : QString::fromStdString(changed.error().message));
    loginProblem_->setVisible(!changed);
}

void SettingsView::refresh() {
    const bool isEnabled = parts_.preferences.shortcutEnabled();
    shortcut_->setOn(isEnabled);
    recorder_->refresh();
    shortcutRow_->setVisible(isEnabled);
    schedule_->refresh();
    language_->setChoice(QString::fromStdString(chosenLanguage_.displayName()));
}

}  // namespace dravo::ui
