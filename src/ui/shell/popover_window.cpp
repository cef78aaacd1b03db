#include "ui/shell/popover_window.h"

#include <QApplication>
#include <QCursor>
#include <QKeyEvent>
#include <QLayout>
#include <QPainter>
#include <QPainterPath>
#include <QPointer>
#include <QScreen>
#include <QScrollBar>
#include <QVBoxLayout>
#include <algorithm>
#include <chrono>
#include <cmath>
#include <span>

#include "ui/controls/layout.h"
#include "ui/shell/window_manager.h"
#include "ui/theme.h"

namespace dravo::ui {

namespace {

using namespace std::chrono_literals;

// How long a tray's host may take to pass on a click. A click that follows is known by its own press; where presses
// cannot be watched it must not be taken for the first one.
constexpr auto kHostPatience = 2s;
constexpr auto kHostPatienceUnwatched = 400ms;
// How soon the focus follows what a person does by touch or keyboard.
constexpr auto kFocusDelay = 200ms;
// The first content loads the typefaces, which takes longer than all else about the first opening.
constexpr auto kQuietAfterStart = 1s;
constexpr int kGap = 8;
// What a desktop's bars may take of a screen that nobody tells the rest of.
constexpr int kUnknownBars = 64;

// By their numbers on an X server: Return, Space and the keypad's Enter activate what has the keyboard, such as an icon
// of the tray. Both Alt and both Super keys are held to switch windows.
constexpr std::uint8_t kActivatingKeys[] = {36, 65, 104};
constexpr std::uint8_t kSwitchKeys[] = {64, 108, 133, 134};

bool isOneOf(std::span<const std::uint8_t> keys, std::uint8_t key) {
    return std::ranges::find(keys, key) != keys.end();
}

// Row by row: the toolkit's own regions of round things have corners on whole pixels only, and look cut off.
QRegion roundedRegion(QSize size) {
    constexpr int kRadius = Theme::kPanelRadius;
    QRegion region(QRect(QPoint(), size).adjusted(0, kRadius, 0, -kRadius));
    for (int row = 0; row < kRadius; ++row) {
        const double toCentre = kRadius - row - 0.5;
        const int inset = qRound(kRadius - std::sqrt(kRadius * kRadius - toCentre * toCentre));
        for (const int y : {row, size.height() - 1 - row}) region += QRect(inset, y, size.width() - 2 * inset, 1);
    }
    return region;
}

bool isOurs(QPoint place) {
    const auto windows = QApplication::topLevelWidgets();
    return std::any_of(windows.begin(), windows.end(), [&](const QWidget* window) {
        return window->isVisible() && window->frameGeometry().contains(place);
    });
}

}  // namespace

PopoverWindow::PopoverWindow(Scheduler& scheduler, Needs needs)
    : QWidget(nullptr, Qt::Tool | Qt::FramelessWindowHint | Qt::WindowStaysOnTopHint | Qt::NoDropShadowWindowHint),
      scheduler_(scheduler),
      needs_(std::move(needs)),
      inputWatch_({[this](bool isDown) { onButton(isDown); },
                   [this](std::uint8_t keycode, bool isDown) { onKey(keycode, isDown); },
                   [this] { latestTurn_ = scheduler_.steadyNow(); }}) {
    setWindowTitle(QStringLiteral("Dravo"));
    setAccessibleName(windowTitle());
    setAttribute(Qt::WA_QuitOnClose, false);
    auto* const layout = new QVBoxLayout(this);
    layout->setContentsMargins({});
    // The size is ours to set: a fixed size makes some window managers take the focus away at each change.
    layout->setSizeConstraint(QLayout::SetNoConstraint);
    layout->addWidget(&scroll_);
    scroll_.setFrameShape(QFrame::NoFrame);
    scroll_.setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    scroll_.setWidgetResizable(true);
    scroll_.setFocusPolicy(Qt::NoFocus);
    scroll_.viewport()->setAutoFillBackground(false);
    preparation_ = scheduler_.after(kQuietAfterStart, [this] { adoptContent(); });
}

void PopoverWindow::adoptContent() {
    if (content_.widget) return;
    content_ = needs_.makeContent();
    scroll_.setWidget(content_.widget);
    content_.widget->setAutoFillBackground(false);
    content_.widget->installEventFilter(this);
    scroll_.verticalScrollBar()->setStyleSheet(theme().styleSheet());
}

void PopoverWindow::changeEvent(QEvent* event) {
    if (event->type() == QEvent::PaletteChange) scroll_.verticalScrollBar()->setStyleSheet(theme().styleSheet());
    QWidget::changeEvent(event);
}

void PopoverWindow::present() {
    if (!isVisible()) appear();
    raise();
    activateWindow();
}

void PopoverWindow::appear() {
    needs_.beforeShowing();
    const bool isTranslucent = hasCompositor();
    if (isTranslucent != testAttribute(Qt::WA_TranslucentBackground)) {
        destroy();  // a window keeps the depth that it was made with
        setAttribute(Qt::WA_TranslucentBackground, isTranslucent);
        if (!isTranslucent) setAttribute(Qt::WA_NoSystemBackground, false);
    }
    adoptContent();
    content_.refresh();
    chooseAnchor();
    ensurePolished();
    scroll_.verticalScrollBar()->setValue(0);
    content_.widget->setVisible(true);
    fitToContent();
    standApart(*this);
    // From the first moment that a press can find the panel open: drawing it the first time takes a while.
    isPressed_ = isSwitchKeyHeld_ = false;
    latestTurn_ = {};
    endClosingClick();
    inputWatch_.setWatching(true);
    openedHeight_ = height();
    setVisible(true);
}

void PopoverWindow::dismiss() {
    inputWatch_.setWatching(false);
    setVisible(false);
}

void PopoverWindow::onButton(bool isDown) {
    isPressed_ = isDown;
    if (!isDown) {
        if (isClosingClick_) awaitNextClick();
    } else if (!isVisible()) {
        endClosingClick();
    } else if (!isOurs(QCursor::pos())) {
        closeFromOutside();
    }
}

void PopoverWindow::onKey(std::uint8_t keycode, bool isDown) {
    const bool isSwitchKey = isOneOf(kSwitchKeys, keycode);
    if (isSwitchKey) isSwitchKeyHeld_ = isDown;
    if (isSwitchKey || isSwitchKeyHeld_) latestTurn_ = scheduler_.steadyNow();
    // What a host tells of next is this key's doing.
    if (isDown && !isVisible() && isOneOf(kActivatingKeys, keycode)) endClosingClick();
}

// Presses are watched on until the click is over: hosts tell of a click when it ends, or later.
void PopoverWindow::closeFromOutside() {
    if (!isVisible()) return;
    setVisible(false);
    isClosingClick_ = true;
    if (!isPressed_) awaitNextClick();
}

void PopoverWindow::awaitNextClick() {
    closingClickEnds_ = scheduler_.after(inputWatch_.canWatch() ? kHostPatience : kHostPatienceUnwatched,
                                         [this] { endClosingClick(); });
}

void PopoverWindow::endClosingClick() {
    isClosingClick_ = false;
    closingClickEnds_.cancel();
    if (!isVisible()) inputWatch_.setWatching(false);
}

bool PopoverWindow::event(QEvent* event) {
    if (event->type() == QEvent::WindowDeactivate) {
        scheduler_.post([self = QPointer(this)] {
            if (self) self->leaveIfForsaken();
        });
    }
    return QWidget::event(event);
}

// A menu or dialog of our own takes the focus without anybody having turned away, and so does a window that the mouse
// comes across or that opens by itself.
void PopoverWindow::leaveIfForsaken() {
    if (!isVisible() || QApplication::activeWindow() || QApplication::activePopupWidget()) return;
    if (!inputWatch_.canWatch() || scheduler_.steadyNow() - latestTurn_ < kFocusDelay) closeFromOutside();
}

bool PopoverWindow::eventFilter(QObject* watched, QEvent* event) {
    if (watched == content_.widget && event->type() == QEvent::LayoutRequest && isVisible()) fitToContent();
    return QWidget::eventFilter(watched, event);
}

void PopoverWindow::keyPressEvent(QKeyEvent* event) {
    if (event->key() == Qt::Key_Escape) {
        if (!content_.takesEscape || !content_.takesEscape()) dismiss();
    } else {
        QWidget::keyPressEvent(event);
    }
}

void PopoverWindow::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    // Opaque to the edge: what lies below must not shine through beneath the hairline, nor at a stepped corner.
    if (!testAttribute(Qt::WA_TranslucentBackground)) painter.fillRect(rect(), theme().panel);
    QPainterPath outline;
    outline.addRoundedRect(QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5), Theme::kPanelRadius, Theme::kPanelRadius);
    painter.fillPath(outline, theme().panel);
    painter.strokePath(outline, QPen(laidOver(theme().hairline, theme().panel), 1));
}

void PopoverWindow::chooseAnchor() {
    anchor_ = needs_.iconPlace();
    const QPoint pointer = QCursor::pos();
    const QScreen* screen = QGuiApplication::screenAt(anchor_.isEmpty() ? pointer : anchor_.center());
    if (!screen) screen = QGuiApplication::primaryScreen();
    available_ = screen->availableGeometry();
    if (!anchor_.isEmpty()) return;
    const QPoint middle = available_.center();
    anchor_ = QRect(QPoint(pointer.x() < middle.x() ? available_.left() : available_.right(),
                           pointer.y() < middle.y() ? available_.top() : available_.bottom()),
                    QSize(1, 1));
}

void PopoverWindow::fitToContent() {
    auto* const content = content_.widget;
    measureAnew(*content);
    const int width = std::clamp(content->sizeHint().width(), content->minimumWidth(), content->maximumWidth());
    const int wanted = content->hasHeightForWidth() ? content->heightForWidth(width) : content->sizeHint().height();
    const int height = std::min(wanted, roomHeight());
    scroll_.setVerticalScrollBarPolicy(wanted > height ? Qt::ScrollBarAlwaysOn : Qt::ScrollBarAlwaysOff);
    const int bar = wanted > height ? scroll_.verticalScrollBar()->sizeHint().width() : 0;
    // Measuring asks for what has just been done.
    QCoreApplication::removePostedEvents(content, QEvent::LayoutRequest);
    const QSize size(width + bar, height);
    if (placesWindows()) {
        setGeometry(QRect(placeFor(size), size));
    } else {
        setFixedSize(size);
    }
    if (!testAttribute(Qt::WA_TranslucentBackground)) {
        setMask(roundedRegion(size));
    } else {
        clearMask();
    }
}

// Who puts a window into the middle leaves its top where it is when it grows.
int PopoverWindow::roomHeight() const {
    if (placesWindows()) return available_.height() - 2 * kGap;
    const int whole = available_.height() - kUnknownBars;
    return (isVisible() ? (whole + openedHeight_) / 2 : whole) - kGap;
}

QPoint PopoverWindow::placeFor(QSize size) const {
    const bool hangsDown = anchor_.center().y() <= available_.center().y();
    const int x = anchor_.center().x() - size.width() / 2;
    const int y = hangsDown ? anchor_.bottom() + kGap : anchor_.top() - kGap - size.height();
    const QRect room = available_.adjusted(kGap, kGap, -kGap, -kGap);
    return {std::clamp(x, room.left(), std::max(room.left(), room.right() + 1 - size.width())),
            std::clamp(y, room.top(), std::max(room.top(), room.bottom() + 1 - size.height()))};
}

}  // namespace dravo::ui
