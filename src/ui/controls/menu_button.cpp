#include "ui/controls/menu_button.h"

#include <QHelpEvent>
#include <QKeyEvent>
#include <QToolTip>
#include <utility>

#include "ui/controls/control_painter.h"

namespace dravo::ui {

namespace {

constexpr int kSidePadding = 8;
constexpr int kRegularHeight = 28;

void fill(QMenu& menu, const std::vector<MenuLine>& lines) {
    for (const auto& line : lines) {
        if (line.text.isEmpty()) {
            menu.addSeparator();
            continue;
        }
        auto* const action = menu.addAction(QString(line.text).replace(QLatin1Char('&'), QLatin1String("&&")));
        if (!line.picture.isNull()) action->setIcon(QIcon(line.picture));
        if (line.isHeading) {
            action->setEnabled(false);
            continue;
        }
        if (line.isCurrent) menu.setActiveAction(action);
        QObject::connect(action, &QAction::triggered, &menu, [&menu, choose = line.choose] {
            menu.close();  // assistive technology triggers an entry without the menu's knowledge
            if (choose) choose();
        });
    }
}

}  // namespace

void openMenu(Button& anchor, const std::vector<MenuLine>& lines, int leastWidth) {
    auto* const menu = new QMenu(&anchor);
    menu->setAttribute(Qt::WA_DeleteOnClose);
    menu->setStyleSheet(theme().styleSheet());
    menu->setFont(fontOf(TextStyle::body));
    menu->setLayoutDirection(anchor.layoutDirection());
    menu->setMinimumWidth(leastWidth);
    fill(*menu, lines);
    QPoint place = anchor.mapToGlobal(QPoint(0, anchor.height() + Theme::kSmallGap));
    if (anchor.isRightToLeft()) place.rx() += anchor.width() - menu->sizeHint().width();
    menu->popup(place);
}

MenuButton::MenuButton(Size size, const QString& name, std::function<std::vector<MenuLine>()> lines)
    : Button([this] { open(); }), size_(size), lines_(std::move(lines)) {
    setAccessibleName(name);
    setOpensMenu();
    setFont(fontOf(size == Size::regular ? TextStyle::body : TextStyle::caption));
    setSizePolicy(size == Size::regular ? QSizePolicy::Expanding : QSizePolicy::Fixed, QSizePolicy::Fixed);
}

void MenuButton::setChoice(const QString& text, const QPixmap& picture) {
    const bool isNew = this->text() != text;
    picture_ = picture;
    setText(text);
    if (isNew) updateGeometry();
    update();
}

int MenuButton::widthFor(const QString& choice, bool hasPicture) const {
    const int picture = hasPicture ? Theme::kSmallIcon + Theme::kGap : 0;
    return fontMetrics().horizontalAdvance(choice) + picture + 2 * kSidePadding + Theme::kGap + Theme::kSmallIcon;
}

QSize MenuButton::sizeHint() const {
    return {widthFor(text(), !picture_.isNull()), forText(size_ == Size::regular ? kRegularHeight : Theme::kTarget)};
}

QSize MenuButton::minimumSizeHint() const {
    return size_ == Size::regular ? QSize(80, sizeHint().height()) : sizeHint();
}

void MenuButton::open() { openMenu(*this, lines_(), width()); }

QRect MenuButton::textRoom() const {
    const int start = kSidePadding + (picture_.isNull() ? 0 : Theme::kSmallIcon + Theme::kGap);
    const int end = kSidePadding + Theme::kSmallIcon + Theme::kSmallGap;
    return isRightToLeft() ? rect().adjusted(end, 0, -start, 0) : rect().adjusted(start, 0, -end, 0);
}

// A choice that does not fit is told in full under the pointer.
bool MenuButton::event(QEvent* event) {
    if (event->type() != QEvent::ToolTip) return Button::event(event);
    const QFontMetrics smallest(fontOf(TextStyle::caption));
    if (smallest.horizontalAdvance(text()) > textRoom().width())
        QToolTip::showText(static_cast<QHelpEvent*>(event)->globalPos(), text(), this);
    return true;
}

void MenuButton::keyPressEvent(QKeyEvent* event) {
    if (event->key() == Qt::Key_Down || event->key() == Qt::Key_Up) {
        open();
    } else {
        Button::keyPressEvent(event);
    }
}

void MenuButton::paintEvent(QPaintEvent*) {
    ControlPainter painter(this);
    const Theme& t = theme();
    painter.fillOutlined(edgeOf(rect()), Theme::kControlRadius, t.raised);
    if (isHot()) painter.fill(edgeOf(rect()), Theme::kControlRadius, t.hairline);
    const bool mirrored = isRightToLeft();
    const auto placed = [&](int fromStart, int side) {
        return QRect(mirrored ? width() - fromStart - side : fromStart, (height() - side) / 2, side, side);
    };
    int start = kSidePadding;
    if (!picture_.isNull()) {
        painter.drawPixmap(placed(start, Theme::kSmallIcon), picture_);
        start += Theme::kSmallIcon + Theme::kGap;
    }
    const int end = kSidePadding + Theme::kSmallIcon;
    drawIcon(painter, Icon::openMenu, placed(width() - end, Theme::kSmallIcon), t.secondary);
    const QRect room = textRoom();
    painter.setPen(t.text);
    // Better smaller than cut.
    if (painter.fontMetrics().horizontalAdvance(text()) > room.width()) painter.setFont(fontOf(TextStyle::caption));
    painter.drawText(room, kLeadingAlignment | Qt::TextSingleLine,
                     painter.fontMetrics().elidedText(text(), Qt::ElideRight, room.width()));
    if (showsFocus()) painter.drawFocusRing(rect(), Theme::kControlRadius);
}

}  // namespace dravo::ui
