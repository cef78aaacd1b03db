#include "ui/controls/card.h"

#include <QAccessible>
#include <QApplication>
#include <QScrollArea>
#include <QShowEvent>
#include <QTimer>

#include "ui/controls/control_painter.h"
#include "ui/controls/layout.h"
#include "ui/controls/row.h"

namespace dravo::ui {

Card::Card() {
    auto* const column = layOut<QVBoxLayout>(this, Theme::kGap);
    column->setContentsMargins(Theme::kBlockGap, Theme::kBlockGap, Theme::kBlockGap, Theme::kBlockGap);
    title_ = new Label({}, TextStyle::title);
    message_ = new Label({}, TextStyle::caption, Tone::secondary);
    answers_ = new QWidget;
    (new Row(answers_))->addStretch();
    column->addWidget(title_->wrapped());
    column->addWidget(message_->wrapped());
    column->addWidget(answers_);
}

void Card::setContent(const QString& title, const QString& message, const std::vector<Answer>& answers) {
    QStringList shown{title, message};
    for (const auto& answer : answers) shown += answer.title;
    if (shown == shown_) return;
    shown_ = shown;
    title_->setText(title);
    message_->setText(message);
    message_->setVisible(!message.isEmpty());
    setAccessibleName(title);
    setAccessibleDescription(message);
    const bool hadKeyboard = isAncestorOf(QApplication::focusWidget());
    replaceAnswers(answers);
    if (!isVisible()) return;
    if (hadKeyboard) takeKeyboard();
    // A screen reader reads an alert when it comes into sight.
    QAccessibleEvent event(this, QAccessible::ObjectShow);
    QAccessible::updateAccessibility(&event);
}

void Card::replaceAnswers(const std::vector<Answer>& answers) {
    // The answer takes the card away, and this button with it: it goes once the click is over.
    for (auto* const old : answers_->findChildren<PushButton*>()) {
        old->setParent(nullptr);
        old->deleteLater();
    }
    for (const auto& answer : answers)
        answers_->layout()->addWidget(new PushButton(answer.title, answer.kind, answer.action));
}

void Card::showEvent(QShowEvent* event) {
    QWidget::showEvent(event);
    if (event->spontaneous()) return;
    takeKeyboard();
    // Once the panel has its new height.
    QTimer::singleShot(0, this, [this] { scrollIntoView(); });
}

void Card::takeKeyboard() {
    if (auto* const first = answers_->findChild<PushButton*>()) first->setFocus(Qt::OtherFocusReason);
}

void Card::scrollIntoView() {
    for (QWidget* around = parentWidget(); around; around = around->parentWidget())
        if (auto* const area = qobject_cast<QScrollArea*>(around)) area->ensureWidgetVisible(this, 0, Theme::kPadding);
}

void Card::paintEvent(QPaintEvent*) {
    ControlPainter(this).fillOutlined(edgeOf(rect()), Theme::kControlRadius, theme().raised);
}

}  // namespace dravo::ui
