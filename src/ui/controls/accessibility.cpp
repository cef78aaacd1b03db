#include "ui/controls/accessibility.h"

#include <QAccessibleWidget>
#include <array>
#include <utility>

#include "ui/controls/adjustment_slider.h"
#include "ui/controls/card.h"
#include "ui/controls/curve_view.h"
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

/// A button of which more is to be said than a name: pressing it is all that it can do.
class ButtonInterface : public QAccessibleWidget {
public:
    ButtonInterface(Button& button, QAccessible::Role role) : QAccessibleWidget(&button, role), button_(button) {}

    QString text(QAccessible::Text kind) const override {
        if (kind == QAccessible::Name && button_.accessibleName().isEmpty()) return button_.text();
        return QAccessibleWidget::text(kind);
    }
    QStringList actionNames() const override { return {pressAction()}; }
    void doAction(const QString& name) override {
        if (name == pressAction()) button_.click();
    }

private:
    Button& button_;
};

class MenuButtonInterface : public ButtonInterface {
public:
    explicit MenuButtonInterface(MenuButton& button)
        : ButtonInterface(button, QAccessible::ButtonMenu), button_(button) {}

    // The choice belongs to the name: few readers ask a button for its value.
    QString text(QAccessible::Text kind) const override {
        if (kind == QAccessible::Name) return button_.accessibleName() + QLatin1String(": ") + button_.text();
        return kind == QAccessible::Value ? button_.text() : ButtonInterface::text(kind);
    }
    QAccessible::State state() const override {
        auto state = ButtonInterface::state();
        state.hasPopup = true;
        return state;
    }

private:
    MenuButton& button_;
};

class DisclosureInterface : public ButtonInterface {
public:
    explicit DisclosureInterface(DisclosureButton& button)
        : ButtonInterface(button, QAccessible::Button), button_(button) {}

    QAccessible::State state() const override {
        auto state = ButtonInterface::state();
        state.expandable = true;
        state.expanded = button_.isExpanded();
        state.collapsed = !button_.isExpanded();
        return state;
    }

private:
    DisclosureButton& button_;
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
    if (className == QLatin1String(MenuButton::staticMetaObject.className()))
        return new MenuButtonInterface(*static_cast<MenuButton*>(object));
    if (className == QLatin1String(DisclosureButton::staticMetaObject.className()))
        return new DisclosureInterface(*static_cast<DisclosureButton*>(object));
    for (const auto& [name, role] : kRoles) {
        if (className == QLatin1String(name)) return new QAccessibleWidget(static_cast<QWidget*>(object), role);
    }
    return nullptr;
}

}  // namespace

void installAccessibility() { QAccessible::installFactory(interfaceFor); }

}  // namespace dravo::ui
