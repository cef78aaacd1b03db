#include "ui/controls/row.h"

#include <QStyle>
#include <QWidget>
#include <algorithm>
#include <utility>

#include "ui/controls/label.h"

namespace dravo::ui {

namespace {

bool expands(const QLayoutItem& item) {
    return (item.expandingDirections() & Qt::Horizontal) && item.maximumSize().width() > item.minimumSize().width();
}

int wantedWidth(QLayoutItem& item) {
    const auto* const label = qobject_cast<Label*>(item.widget());
    if (label && label->wordWrap()) return label->twoLineWidth();
    return expands(item) ? item.minimumSize().width() : item.sizeHint().width();
}

int heightOf(QLayoutItem& item, int width) {
    return item.hasHeightForWidth() ? item.heightForWidth(width) : item.sizeHint().height();
}

}  // namespace

Row::Row(QWidget* owner, int gap) : QLayout(owner) {
    setContentsMargins({});
    setSpacing(gap);
}

Row::~Row() {
    while (auto* const item = takeAt(0)) delete item;
}

void Row::addLayout(QLayout* layout) {
    addChildLayout(layout);
    addItem(layout);
}

QLayoutItem* Row::itemAt(int index) const {
    return index >= 0 && index < count() ? items_[static_cast<std::size_t>(index)] : nullptr;
}

QLayoutItem* Row::takeAt(int index) {
    auto* const item = itemAt(index);
    if (!item) return nullptr;
    items_.erase(items_.begin() + index);
    if (endFrom_ > static_cast<std::size_t>(index) && endFrom_ <= items_.size()) --endFrom_;
    return item;
}

int Row::indent() const {
    const auto* const mark = items_.empty() ? nullptr : qobject_cast<IconMark*>(items_.front()->widget());
    return mark ? mark->sizeHint().width() + spacing() : 0;
}

std::vector<Row::Line> Row::linesIn(int width) const {
    std::vector<Line> lines(1);
    int room = width;
    for (std::size_t index = 0; index < items_.size(); ++index) {
        auto* const item = items_[index];
        if (item->isEmpty()) continue;
        const int wanted = wantedWidth(*item);
        const bool isFirst = lines.back().empty() || (lines.size() == 1 && lines.back().size() == 1 && indent() > 0);
        if (!isFirst && wanted > room) {
            lines.emplace_back();
            room = width - indent();
        }
        lines.back().push_back({item, std::min(wanted, room), index >= endFrom_});
        room -= wanted + spacing();
    }
    return lines;
}

int Row::arrangeLine(Line& line, const QRect& place, bool isMoving) const {
    int left = place.width() + spacing();
    int growing = 0;
    for (const auto& part : line) {
        left -= part.width + spacing();
        growing += expands(*part.item) ? 1 : 0;
    }
    int height = 0;
    for (auto& part : line) {
        if (expands(*part.item)) {
            const int share = left / growing--;
            part.width += share;
            left -= share;
        }
        height = std::max(height, heightOf(*part.item, part.width));
    }
    if (!isMoving) return height;
    const auto direction = parentWidget()->layoutDirection();
    const QRect whole = contentsRect();
    int x = place.x();
    for (const auto& part : line) {
        if (part.isAtEnd) x += std::exchange(left, 0);
        const int own = heightOf(*part.item, part.width);
        const QRect spot(x, place.y() + (height - own) / 2, part.width, own);
        part.item->setGeometry(QStyle::visualRect(direction, whole, spot));
        x += part.width + spacing();
    }
    return height;
}

int Row::arrange(const QRect& place, bool isMoving) const {
    const QMargins margins = contentsMargins();
    QRect room = place.marginsRemoved(margins);
    int bottom = room.y();
    for (auto& line : linesIn(room.width())) {
        bottom = room.y() + arrangeLine(line, room, isMoving);
        room.setTop(bottom + Theme::kSmallGap);
        // The first line goes over the whole width.
        room.setLeft(place.x() + margins.left() + indent());
    }
    return bottom + margins.bottom() - place.y();
}

QSize Row::sizeHint() const {
    int width = -spacing();
    for (auto* const item : items_)
        if (!item->isEmpty()) width += item->sizeHint().width() + spacing();
    const QMargins margins = contentsMargins();
    width += margins.left() + margins.right();
    return {width, heightForWidth(width)};
}

// Any height that is less: what holds the row asks for the height at its width.
QSize Row::minimumSize() const {
    QSize least;
    for (auto* const item : items_)
        if (!item->isEmpty()) least = least.expandedTo(item->minimumSize());
    const QMargins margins = contentsMargins();
    return least + QSize(margins.left() + margins.right(), margins.top() + margins.bottom());
}

void Row::setGeometry(const QRect& place) {
    QLayout::setGeometry(place);
    arrange(place, true);
}

QWidget* rowOf(std::initializer_list<QWidget*> parts) {
    auto* const widget = new QWidget;
    auto* const row = new Row(widget);
    for (auto* const part : parts) {
        if (part) {
            row->addWidget(part);
        } else {
            row->addStretch();
        }
    }
    return widget;
}

}  // namespace dravo::ui
