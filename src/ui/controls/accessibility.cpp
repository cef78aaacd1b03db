#include "ui/controls/accessibility.h"

#include <QAccessibleWidget>
#include <algorithm>
#include <array>
#include <utility>

#include "ui/controls/adjustment_slider.h"
#include "ui/controls/card.h"
#include "ui/controls/curve_view.h"
#include "ui/controls/fields.h"
#include "ui/controls/menu_button.h"
#include "ui/controls/segmented_control.h"

namespace dravo::ui {

namespace {

class SliderInterface : public QAccessibleWidget, public QAccessibleValueInterface {
public:
    explicit SliderInterface(AdjustmentSlider& slider)
        : QAccessibleWidget(&slider, QAccessible::Slider), slider_(slider) {}

    void* interface_cast(QAccessible::InterfaceType type) override {
        return type == QAccessible::ValueInterface ? static_cast<QAccessibleValueInterface*>(this)
                                                   : QAccessibleWidget::interface_cast(type);
    }
    QString text(QAccessible::Text kind) const override {
        return kind == QAccessible::Value ? slider_.valueText() : QAccessibleWidget::text(kind);
    }
    QVariant currentValue() const override { return slider_.value(); }
    void setCurrentValue(const QVariant& value) override { slider_.input(value.toDouble()); }
    QVariant maximumValue() const override { return slider_.range().highest; }
    QVariant minimumValue() const override { return slider_.range().lowest; }
    QVariant minimumStepSize() const override { return slider_.steps().small; }

private:
    AdjustmentSlider& slider_;
};

/// Any button of ours. The toolkit's own would flip what can be checked by itself; here every action is a click, and
/// whoever owns the value decides what the button then shows.
class ButtonInterface : public QAccessibleWidget {
public:
    explicit ButtonInterface(Button& button) : QAccessibleWidget(&button), button_(button) {}

    // Asked for before a button has been told all that it is.
    QAccessible::Role role() const override {
        if (button_.opensMenu()) return QAccessible::ButtonMenu;
        if (!button_.isCheckable()) return QAccessible::Button;
        return button_.autoExclusive() ? QAccessible::RadioButton : QAccessible::CheckBox;
    }

    QString text(QAccessible::Text kind) const override {
        if (kind == QAccessible::Name && button_.accessibleName().isEmpty()) return button_.text();
        const QString told = QAccessibleWidget::text(kind);
        // A tool tip that is the name would be read twice.
        return kind == QAccessible::Description && told == text(QAccessible::Name) ? QString() : told;
    }
    QAccessible::State state() const override {
        auto state = QAccessibleWidget::state();
        state.checkable = button_.isCheckable();
        state.checked = button_.isChecked();
        state.hasPopup = button_.opensMenu();
        state.expandable = button_.isExpandable();
        state.expanded = button_.isExpanded();
        state.collapsed = button_.isExpandable() && !button_.isExpanded();
        return state;
    }

    QStringList actionNames() const override { return QStringList(mainAction()) + QAccessibleWidget::actionNames(); }
    void doAction(const QString& name) override {
        if (name == mainAction()) {
            button_.click();
        } else {
            QAccessibleWidget::doAction(name);
        }
    }

    // The toolkit leaves menus out of the tree.
    int childCount() const override { return openMenu() ? 1 : 0; }
    QAccessibleInterface* child(int index) const override {
        return index == 0 ? QAccessible::queryAccessibleInterface(openMenu()) : nullptr;
    }
    int indexOfChild(const QAccessibleInterface* child) const override {
        return child && openMenu() && child->object() == openMenu() ? 0 : -1;
    }

private:
    [[nodiscard]] const QString& mainAction() const {
        return button_.isCheckable() ? toggleAction() : button_.opensMenu() ? showMenuAction() : pressAction();
    }
    [[nodiscard]] QMenu* openMenu() const { return button_.findChild<QMenu*>({}, Qt::FindDirectChildrenOnly); }

    Button& button_;
};

class MenuButtonInterface : public ButtonInterface {
public:
    explicit MenuButtonInterface(MenuButton& button) : ButtonInterface(button), button_(button) {}

    // The choice belongs to the name: few readers ask a button for its value.
    QString text(QAccessible::Text kind) const override {
        if (kind == QAccessible::Name) return button_.accessibleName() + QLatin1String(": ") + button_.text();
        return kind == QAccessible::Value ? button_.text() : ButtonInterface::text(kind);
    }

private:
    MenuButton& button_;
};

/// A time of day: read as a text, set as minutes after midnight or typed.
class TimeFieldInterface : public QAccessibleWidget, public QAccessibleValueInterface {
public:
    explicit TimeFieldInterface(TimeField& field) : QAccessibleWidget(&field, QAccessible::SpinBox), field_(field) {}

    void* interface_cast(QAccessible::InterfaceType type) override {
        if (type == QAccessible::ValueInterface) return static_cast<QAccessibleValueInterface*>(this);
        if (type == QAccessible::TextInterface)
            return QAccessible::queryAccessibleInterface(&field_.line())->interface_cast(type);
        return QAccessibleWidget::interface_cast(type);
    }
    QString text(QAccessible::Text kind) const override {
        return kind == QAccessible::Value ? field_.text() : QAccessibleWidget::text(kind);
    }
    int childCount() const override { return 0; }
    QVariant currentValue() const override { return field_.minutes(); }
    void setCurrentValue(const QVariant& value) override {
        field_.input(std::clamp(value.toInt(), minimumValue().toInt(), maximumValue().toInt()));
    }
    QVariant maximumValue() const override { return 24 * 60 - 1; }
    QVariant minimumValue() const override { return 0; }
    QVariant minimumStepSize() const override { return 1; }

private:
    TimeField& field_;
};

const std::array<std::pair<const char*, QAccessible::Role>, 3> kRoles{{
    {Card::staticMetaObject.className(), QAccessible::AlertMessage},
    {CurveView::staticMetaObject.className(), QAccessible::Graphic},
    {SegmentedControl::staticMetaObject.className(), QAccessible::Grouping},
}};

// The toolkit asks for each class of an object, the most derived first.
QAccessibleInterface* interfaceFor(const QString& className, QObject* object) {
    if (className == QLatin1String(AdjustmentSlider::staticMetaObject.className()))
        return new SliderInterface(*static_cast<AdjustmentSlider*>(object));
    if (className == QLatin1String(TimeField::staticMetaObject.className()))
        return new TimeFieldInterface(*static_cast<TimeField*>(object));
    if (className == QLatin1String(MenuButton::staticMetaObject.className()))
        return new MenuButtonInterface(*static_cast<MenuButton*>(object));
    if (className == QLatin1String(Button::staticMetaObject.className()))
        return new ButtonInterface(*static_cast<Button*>(object));
    if (className == QLatin1String(QWidget::staticMetaObject.className()) && static_cast<QWidget*>(object)->isWindow())
        return new QAccessibleWidget(static_cast<QWidget*>(object), QAccessible::Window);
    for (const auto& [name, role] : kRoles) {
        if (className == QLatin1String(name)) return new QAccessibleWidget(static_cast<QWidget*>(object), role);
    }
    return nullptr;
}

}  // namespace

void installAccessibility() { QAccessible::installFactory(interfaceFor); }

}  // namespace dravo::ui
