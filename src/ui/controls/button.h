#pragma once

#include <QAbstractButton>
#include <functional>
#include <optional>

#include "ui/icons.h"
#include "ui/theme.h"

namespace dravo::ui {

/// Whether a control's focus is to be shown: when it came while the person was using the keyboard. A member of the
/// control.
class KeyboardFocus : public QObject {
public:
    explicit KeyboardFocus(QWidget* control) { control->installEventFilter(this); }

    /// Notes from now on whether the program was last used by key or by pointer. Once, with the application.
    static void watchInput();

    [[nodiscard]] bool isShown() const { return isShown_; }
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    bool isShown_ = false;
};

/// What all buttons of the panel share: hover, pressed, disabled and focus looks, and Enter as well as Space.
///
/// A subclass draws itself; the button's accessible name is its text unless it was given one.
class Button : public QAbstractButton {
    Q_OBJECT

public:
    /// `action`, if any, is called on every click, by mouse, keyboard or assistive technology.
    explicit Button(std::function<void()> action = {});

    /// For assistive technology: that a click opens a menu, and whether what a click unfolds is unfolded now.
    void setOpensMenu() { opensMenu_ = true; }
    [[nodiscard]] bool opensMenu() const { return opensMenu_; }
    void setExpanded(bool isExpanded);
    [[nodiscard]] bool isExpandable() const { return expanded_.has_value(); }
    [[nodiscard]] bool isExpanded() const { return expanded_.value_or(false); }

protected:
    void keyPressEvent(QKeyEvent* event) override;

    [[nodiscard]] bool showsFocus() const { return focus_.isShown(); }
    [[nodiscard]] bool isHot() const { return isEnabled() && (isDown() || underMouse()); }

private:
    KeyboardFocus focus_{this};
    bool opensMenu_ = false;
    std::optional<bool> expanded_;
};

/// An icon alone, in a square that can be hit.
class IconButton : public Button {
    Q_OBJECT

public:
    IconButton(Icon icon, const QString& toolTip, std::function<void()> action);

    void setIcon(Icon icon, const QString& toolTip);
    [[nodiscard]] QSize sizeHint() const override { return {Theme::kTarget, Theme::kTarget}; }

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    Icon icon_;
};

/// A labelled button: small, as everything in the panel.
class PushButton : public Button {
    Q_OBJECT

public:
    enum class Kind {
        plain,
        primary,  ///< What the person came for.
        destructive,
        link,  ///< Only its text.
    };

    PushButton(const QString& text, Kind kind, std::function<void()> action);

    /// Shows the text as of lesser weight, as while a recorder waits.
    void setMuted(bool isMuted);
    [[nodiscard]] QSize sizeHint() const override;
    [[nodiscard]] QSize minimumSizeHint() const override { return sizeHint(); }

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    [[nodiscard]] QColor ink() const;

    Kind kind_;
    bool isMuted_ = false;
};

/// The header of a part that unfolds: a chevron and a title, at once and without motion.
class DisclosureButton : public Button {
    Q_OBJECT

public:
    DisclosureButton(const QString& title, std::function<void()> action);

    [[nodiscard]] QSize sizeHint() const override;

protected:
    void paintEvent(QPaintEvent* event) override;
};

}  // namespace dravo::ui
