#include "ui/views/shortcut_view.h"

#include <QClipboard>
#include <QGuiApplication>

#include "ui/controls/layout.h"
#include "ui/controls/row.h"
#include "ui/texts.h"
#include "ui/views/shortcut_recorder_view.h"

namespace dravo::ui {

ShortcutView::ShortcutView(const PanelParts& parts) : View(parts) {
    switch_ = new ToggleRow(text("Global Shortcut"), [this](bool isOn) { parts_.shortcutManager.setEnabled(isOn); });
    recorderRow_ = makeRecorderRow();
    keys_ = new Label({}, TextStyle::caption);
    change_ = new PushButton(text("Change…"), PushButton::Kind::link,
                             [this] { parts_.shortcutManager.service().configure(); });
    keysRow_ = rowOf({keys_->wrapped(), change_});
    title_ = new Label(text("Global Shortcut"), TextStyle::body);
    advice_ = new Label({}, TextStyle::caption, Tone::secondary);
    commandRow_ = makeCommandRow();
    auto* const column = layOut<QVBoxLayout>(this, Theme::kGap);
    for (auto* const row : {static_cast<QWidget*>(switch_), recorderRow_, keysRow_, static_cast<QWidget*>(title_),
                            static_cast<QWidget*>(advice_->wrapped()), commandRow_})
        column->addWidget(row);
}

QWidget* ShortcutView::makeRecorderRow() {
    recorder_ = new RecorderButton(parts_);
    auto* const reset = new IconButton(Icon::reset, text("Reset to Control Shift E"), [this] {
        recorder_->cancel();
        parts_.shortcutManager.resetToDefault();
    });
    return rowOf({recorder_, reset});
}

QWidget* ShortcutView::makeCommandRow() {
    command_ = new Label({}, TextStyle::captionStrong);
    copy_ = new PushButton(text("Copy"), PushButton::Kind::plain, [this] {
        QGuiApplication::clipboard()->setText(command_->text());
        copy_->setText(text("Copied"));
        copy_->updateGeometry();
    });
    return rowOf({command_, nullptr, copy_});
}

void ShortcutView::appeared() {
    copy_->setText(text("Copy"));
    copy_->updateGeometry();
}

void ShortcutView::refresh() {
    const bool isWanted = parts_.preferences.shortcutEnabled();
    const auto* const desktops = parts_.shortcutManager.service().desktopKeys();
    const Finding finding = desktops ? desktops->finding : Finding{};
    const bool isBoundElsewhere = !finding.command.empty();
    switch_->setOn(isWanted);
    switch_->setVisible(!isBoundElsewhere);
    title_->setVisible(isBoundElsewhere);
    recorder_->refresh();
    recorderRow_->setVisible(isWanted && !desktops);
    if (desktops) {
        keys_->setText(desktops->keys.empty() ? text("The desktop has not said which keys") : toQt(desktops->keys));
        change_->setVisible(desktops->canConfigure);
    }
    keysRow_->setVisible(isWanted && desktops && finding.works());
    const QString problem = toQt(localized(finding.problem));
    const QString remedy = toQt(localized(finding.remedy));
    title_->setToolTip(problem);
    advice_->setText(isBoundElsewhere ? remedy : filled(QStringLiteral("%@\n%@"), problem, remedy));
    advice_->setTone(isBoundElsewhere ? Tone::secondary : Tone::orange);
    advice_->setVisible(isBoundElsewhere || (isWanted && !finding.works()));
    command_->setText(toQt(finding.command));
    commandRow_->setVisible(isBoundElsewhere);
}

}  // namespace dravo::ui
