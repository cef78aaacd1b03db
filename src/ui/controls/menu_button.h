#pragma once

#include <QMenu>
#include <QPixmap>
#include <functional>
#include <vector>

#include "ui/controls/button.h"

namespace dravo::ui {

/// One line of a menu; a heading cannot be chosen.
struct MenuLine {
    QString text;
    QPixmap picture = {};
    bool isHeading = false;
    bool isCurrent = false;
    std::function<void()> choose = {};
};

/// Opens a menu of `lines` below `anchor`, in the panel's own look, and gives the keyboard back when it closes.
void openMenu(Button& anchor, const std::vector<MenuLine>& lines, int leastWidth = 0);

/// Shows the chosen one of several, and a menu of all of them. Every choice counts, also that of the same one.
class MenuButton : public Button {
    Q_OBJECT

public:
    enum class Size { regular, small };

    /// `name` is what a screen reader says before the choice; `lines` is asked whenever the menu opens.
    MenuButton(Size size, const QString& name, std::function<std::vector<MenuLine>()> lines);

    void setChoice(const QString& text, const QPixmap& picture = {});

    /// The width in pixels in which this choice is shown in full.
    [[nodiscard]] int widthFor(const QString& choice, bool hasPicture) const;
    [[nodiscard]] QSize sizeHint() const override;
    [[nodiscard]] QSize minimumSizeHint() const override;

protected:
    void paintEvent(QPaintEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    bool event(QEvent* event) override;

private:
    void open();
    [[nodiscard]] QRect textRoom() const;

    Size size_;
    QPixmap picture_;
    std::function<std::vector<MenuLine>()> lines_;
};

}  // namespace dravo::ui
