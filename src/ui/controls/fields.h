#pragma once

#include <QLineEdit>
#include <QTimeEdit>
#include <QTimer>
#include <functional>

#include "ui/theme.h"

namespace dravo::ui {

/// A line to type in.
class TextField : public QLineEdit {
    Q_OBJECT

public:
    explicit TextField(const QString& placeholder);

    [[nodiscard]] QSize sizeHint() const override;
    [[nodiscard]] QSize minimumSizeHint() const override;

protected:
    void paintEvent(QPaintEvent* event) override;
};

/// A time of day, hours and minutes, typed or stepped. What a person sets counts once the editing ends: by Enter, by
/// leaving, or after a second without a change, so that no time in between takes effect.
class TimeField : public QTimeEdit {
    Q_OBJECT

public:
    /// `onInput` gets what the person sets, in minutes after midnight.
    TimeField(const QString& name, std::function<void(int)> onInput);

    /// Shows this time, unless the person is at it. Minutes after midnight, 0..1439.
    void setMinutes(int minutes);
    [[nodiscard]] int minutes() const { return 60 * time().hour() + time().minute(); }
    /// What assistive technology sets; it counts at once.
    void input(int minutes);
    /// Where the time is typed.
    [[nodiscard]] QLineEdit& line() const { return *lineEdit(); }

    [[nodiscard]] QSize sizeHint() const override;
    bool eventFilter(QObject* watched, QEvent* event) override;

protected:
    void paintEvent(QPaintEvent* event) override;
    void wheelEvent(QWheelEvent* event) override;

private:
    void settle();

    std::function<void(int)> onInput_;
    QTimer rest_;
    bool isEdited_ = false;
};

}  // namespace dravo::ui
