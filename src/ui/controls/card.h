#pragma once

#include <QWidget>
#include <functional>
#include <vector>

#include "ui/controls/button.h"
#include "ui/controls/label.h"

namespace dravo::ui {

/// What the panel asks or tells, inside itself: a title, a text, and the answers. An alert to a screen reader, which is
/// told when it appears and when it says something else.
class Card : public QWidget {
    Q_OBJECT

public:
    struct Answer {
        QString title;
        PushButton::Kind kind = PushButton::Kind::plain;
        std::function<void()> action;
    };

    Card();

    /// Replaces what it shows. The same as before changes nothing; otherwise a keyboard that was on an answer is on the
    /// first one again.
    void setContent(const QString& title, const QString& message, const std::vector<Answer>& answers);

protected:
    void paintEvent(QPaintEvent* event) override;
    void showEvent(QShowEvent* event) override;

private:
    void replaceAnswers(const std::vector<Answer>& answers);
    void takeKeyboard();
    void scrollIntoView();

    Label* title_;
    Label* message_;
    QWidget* answers_;
    QStringList shown_;
};

}  // namespace dravo::ui
