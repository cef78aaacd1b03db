#pragma once

#include <QLayout>
#include <initializer_list>
#include <vector>

#include "ui/theme.h"

namespace dravo::ui {

/// Controls beside each other, which go on below where the panel is too narrow for them: nothing is cut.
///
/// A wrapped label wants so much width that two lines hold it. What is left over goes to whatever expands. Lines below
/// begin behind the icon that leads the row. Mirrored where writing goes the other way.
class Row : public QLayout {
    Q_OBJECT

public:
    explicit Row(QWidget* owner = nullptr, int gap = Theme::kGap);
    ~Row() override;
    Row(const Row&) = delete;
    Row& operator=(const Row&) = delete;

    /// From here on at the row's end.
    void addStretch() { endFrom_ = items_.size(); }
    /// What is never parted.
    void addLayout(QLayout* layout);

    void addItem(QLayoutItem* item) override { items_.push_back(item); }
    [[nodiscard]] int count() const override { return static_cast<int>(items_.size()); }
    [[nodiscard]] QLayoutItem* itemAt(int index) const override;
    QLayoutItem* takeAt(int index) override;
    [[nodiscard]] bool hasHeightForWidth() const override { return true; }
    [[nodiscard]] int heightForWidth(int width) const override { return arrange({0, 0, width, 0}, false); }
    [[nodiscard]] QSize sizeHint() const override;
    [[nodiscard]] QSize minimumSize() const override;
    [[nodiscard]] Qt::Orientations expandingDirections() const override { return Qt::Horizontal; }
    void setGeometry(const QRect& place) override;

private:
    struct Part {
        QLayoutItem* item;
        int width;
        bool isAtEnd;
    };
    using Line = std::vector<Part>;

    [[nodiscard]] std::vector<Line> linesIn(int width) const;
    /// How far from the start the lines after the first begin.
    [[nodiscard]] int indent() const;
    /// The height that the parts need in the width of `place`; puts them there if asked.
    int arrange(const QRect& place, bool isMoving) const;
    [[nodiscard]] int arrangeLine(Line& line, const QRect& place, bool isMoving) const;

    std::vector<QLayoutItem*> items_;
    std::size_t endFrom_ = static_cast<std::size_t>(-1);
};

/// A widget with a row of `parts`; those behind a null stand at its end.
[[nodiscard]] QWidget* rowOf(std::initializer_list<QWidget*> parts);

}  // namespace dravo::ui
