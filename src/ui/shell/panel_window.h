#pragma once

#include <QPointer>
#include <QRect>
#include <QScrollArea>
#include <QWidget>
#include <functional>
#include <memory>

#include "app/popover.h"
#include "base/scheduler.h"
#include "ui/shell/outside_press.h"

namespace dravo::ui {

/// The panel's window: under the icon or in a corner, always wholly on one screen, as large as its content, or as the
/// screen with a bar to scroll by. A press anywhere else closes it, and Escape that the content has no use for.
///
/// Thread: main thread.
class PanelWindow : public QWidget, public Popover {
public:
    /// `iconPlace` gives the tray icon's place on the screen, empty where nobody knows it.
    PanelWindow(Scheduler& scheduler, std::function<QRect()> iconPlace);

    /// Takes `content` over; it is told apart by its own size hint.
    void setContent(QWidget* content);

    void show() override;
    void close() override;
    [[nodiscard]] bool isShown() const override { return isVisible(); }
    [[nodiscard]] bool wasJustClosed() const override;

protected:
    bool event(QEvent* event) override;
    bool eventFilter(QObject* watched, QEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void paintEvent(QPaintEvent* event) override;

private:
    void fitToContent();
    void closeFromOutside();
    void leaveIfForsaken();
    [[nodiscard]] QPoint placeFor(QSize size) const;
    void chooseAnchor();

    Scheduler& scheduler_;
    std::function<QRect()> iconPlace_;
    QScrollArea scroll_;
    QPointer<QWidget> content_;
    QRect anchor_;     ///< what the panel hangs from: the icon, or a corner of the screen
    QRect available_;  ///< what the screen of the anchor leaves free
    OutsidePress outsidePress_;
    SteadyTime closedAt_ = SteadyTime::min();
};

}  // namespace dravo::ui
