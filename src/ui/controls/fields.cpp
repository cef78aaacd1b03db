#include "ui/controls/fields.h"

#include <QStyleOptionSpinBox>
#include <QWheelEvent>
#include <chrono>

#include "ui/controls/control_painter.h"
#include "ui/icons.h"
#include "ui/texts.h"

namespace dravo::ui {

namespace {

using namespace std::chrono_literals;

constexpr auto kRest = 1s;
constexpr int kFieldRadius = 6;
constexpr int kFieldPadding = 6;
constexpr int kTextFieldHeight = 26;
constexpr int kCursorRoom = 6;
constexpr int kStepper = 14;
constexpr int kStepIcon = 10;

void drawField(QPainter& painter, const QRect& rect, bool hasFocus) {
    const Theme& t = theme();
    painter.setPen(hasFocus ? QPen(t.accentText, 1.5) : QPen(t.hairline, 1));
    painter.setBrush(t.sunk);
    painter.drawRoundedRect(QRectF(rect).adjusted(1, 1, -1, -1), kFieldRadius, kFieldRadius);
}

void clearGround(QWidget& widget) {
    QPalette palette;
    palette.setColor(QPalette::Base, Qt::transparent);
    widget.setPalette(palette);
}

}  // namespace

TextField::TextField(const QString& placeholder) {
    setPlaceholderText(placeholder);
    setAccessibleName(placeholder);
    setFont(fontOf(TextStyle::body));
    setFrame(false);
    setTextMargins(kFieldPadding, 0, kFieldPadding, 0);
    clearGround(*this);
}

QSize TextField::sizeHint() const { return {QLineEdit::sizeHint().width(), forText(kTextFieldHeight)}; }

QSize TextField::minimumSizeHint() const {
    return {fontMetrics().horizontalAdvance(placeholderText()) + 2 * kFieldPadding + kCursorRoom, sizeHint().height()};
}

void TextField::paintEvent(QPaintEvent* event) {
    {
        ControlPainter painter(this);
        drawField(painter, rect(), hasFocus());
    }
    QLineEdit::paintEvent(event);
}

TimeField::TimeField(const QString& name, std::function<void(int)> onInput) : onInput_(std::move(onInput)) {
    setAccessibleName(name);
    setFont(fontOf(TextStyle::caption));
    setFrame(false);
    // Where writing goes the other way the toolkit would turn the format round, and with it hours and minutes.
    setLayoutDirection(Qt::LeftToRight);
    setDisplayFormat(usesTwelveHours() ? QStringLiteral("h:mm AP") : QStringLiteral("HH:mm"));
    unsetLayoutDirection();
    setKeyboardTracking(true);
    setWrapping(true);
    setFocusPolicy(Qt::StrongFocus);
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
    lineEdit()->setObjectName({});  // under the toolkit's name for it, assistive technology cannot read it
    lineEdit()->setFrame(false);
    lineEdit()->setTextMargins(kFieldPadding - 2, 0, 0, 0);
    clearGround(*lineEdit());
    lineEdit()->installEventFilter(this);
    rest_.setSingleShot(true);
    connect(&rest_, &QTimer::timeout, this, [this] { settle(); });
    connect(this, &QTimeEdit::userTimeChanged, this, [this] {
        isEdited_ = true;
        rest_.start(kRest);
    });
    connect(this, &QTimeEdit::editingFinished, this, [this] { settle(); });
}

void TimeField::setMinutes(int minutes) {
    if (isEdited_) return;
    const QTime wanted(minutes / 60, minutes % 60);
    if (time() == wanted) return;
    const QSignalBlocker quiet(this);
    setTime(wanted);
}

void TimeField::settle() {
    rest_.stop();
    if (!isEdited_) return;
    isEdited_ = false;
    onInput_(minutes());
}

void TimeField::input(int minutes) {
    isEdited_ = false;
    setMinutes(minutes);
    isEdited_ = true;
    settle();
}

// What is typed next replaces the hours or the minutes that were clicked; in between it would be refused.
bool TimeField::eventFilter(QObject* watched, QEvent* event) {
    if (event->type() == QEvent::MouseButtonRelease) setSelectedSection(currentSection());
    return QTimeEdit::eventFilter(watched, event);
}

QSize TimeField::sizeHint() const {
    const QString widest = usesTwelveHours() ? QStringLiteral("00:00 AM") : QStringLiteral("00:00");
    return {fontMetrics().horizontalAdvance(widest) + 2 * kFieldPadding + kStepper + 8, forText(Theme::kTarget)};
}

void TimeField::wheelEvent(QWheelEvent* event) {
    if (hasFocus()) {
        QTimeEdit::wheelEvent(event);
    } else {
        event->ignore();
    }
}

void TimeField::paintEvent(QPaintEvent*) {
    ControlPainter painter(this);
    drawField(painter, rect(), hasFocus());
    QStyleOptionSpinBox option;
    initStyleOption(&option);
    for (const auto part : {QStyle::SC_SpinBoxUp, QStyle::SC_SpinBoxDown}) {
        const QRect button = style()->subControlRect(QStyle::CC_SpinBox, &option, part, this);
        const bool isUp = part == QStyle::SC_SpinBoxUp;
        painter.save();
        painter.translate(QRectF(button).center());
        painter.rotate(isUp ? 180 : 0);
        drawIcon(painter, Icon::openMenu, QRect(-kStepIcon / 2, -kStepIcon / 2, kStepIcon, kStepIcon),
                 theme().secondary);
        painter.restore();
    }
}

}  // namespace dravo::ui
