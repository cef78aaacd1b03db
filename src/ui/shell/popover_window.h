#pragma once

#include <QRect>
#include <QScrollArea>
#include <QWidget>
#include <functional>
#include <memory>

#include "app/popover.h"
#include "base/scheduler.h"
#include "ui/shell/input_watch.h"

namespace dravo::ui {

/// The panel's window: under the icon or in a corner, always wholly on one screen, as large as its content, or as the
/// screen with a bar to scroll by. A press anywhere else closes it, and Escape that the content has no use for. That
/// another window gets the keyboard does not by itself: it may only follow the mouse.
///
/// Thread: main thread.
class PopoverWindow : public QWidget, public Popover {
public:
    /// What the window shows; its size follows the widget's size hint.
    struct Content {
        QWidget* widget = nullptr;            ///< The window takes it over.
        std::function<void()> refresh{};      ///< Reads everything anew, while nobody sees it yet.
        std::function<bool()> takesEscape{};  ///< Closes something inside; false if there is nothing to close.
    };

    struct Needs {
        std::function<QRect()> iconPlace;      ///< The tray icon's place on the screen; empty where nobody knows it.
        std::function<void()> beforeShowing;   ///< Puts the present look in force.
        std::function<Content()> makeContent;  ///< Called once, soon after the start or to show it earlier.
    };

    PopoverWindow(Scheduler& scheduler, Needs needs);

    void present() override;
    void dismiss() override;
    [[nodiscard]] bool isShown() const override { return isVisible(); }
    [[nodiscard]] bool wasJustClosed() const override { return isClosingClick_; }

protected:
    bool event(QEvent* event) override;
    void changeEvent(QEvent* event) override;
    bool eventFilter(QObject* watched, QEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void paintEvent(QPaintEvent* event) override;

private:
    void appear();
    void adoptContent();
    void fitToContent();
    void onButton(bool isDown);
    void onKey(std::uint8_t keycode, bool isDown);
    void closeFromOutside();
    void awaitNextClick();
    void endClosingClick();
    void leaveIfForsaken();
    [[nodiscard]] int roomHeight() const;
    [[nodiscard]] QPoint placeFor(QSize size) const;
    void chooseAnchor();

    Scheduler& scheduler_;
    Needs needs_;
    QScrollArea scroll_;
    Content content_;
    QRect anchor_;          ///< what the panel hangs from: the icon, or a corner of the screen
    QRect available_;       ///< what the screen of the anchor leaves free
    int openedHeight_ = 0;  ///< as high as it was when it appeared
    InputWatch inputWatch_;
    bool isPressed_ = false;
    bool isSwitchKeyHeld_ = false;
    SteadyTime latestTurn_{};      ///< when somebody last touched the screen or used the keys that switch windows
    bool isClosingClick_ = false;  ///< what closed the panel from outside may still come as a click on the icon
    Timer closingClickEnds_;
    Timer preparation_;
};

}  // namespace dravo::ui
