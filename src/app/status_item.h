#pragma once

#include <functional>
#include <string>
#include <vector>

#include "base/subscription.h"

namespace dravo {

/// One line of a context menu; without a title it is a separator.
struct MenuEntry {
    std::string title = {};
    std::function<void()> action = {};
    char key = 0;  ///< A small letter that does the same while the menu is open, with Control or without. 0: none.
};

/// The program's icon in the desktop's tray. It is there whenever a tray is, however late and however often.
///
/// Thread: main thread. Lifetime: outlives its subscriptions.
class StatusItem {
public:
    enum class Symbol { eyeCircle, eyeCircleFill, eyeSlashCircle };
    enum class Button { left, middle };

    virtual ~StatusItem() = default;

    virtual void setSymbol(Symbol symbol) = 0;
    /// What a hover shows and a screen reader says after the program's name.
    virtual void setToolTip(const std::string& toolTip) = 0;

    /// `make` builds the context menu anew whenever it is about to be shown. The desktop opens it, by a right click.
    virtual void setMenu(std::function<std::vector<MenuEntry>()> make) = 0;

    /// `callback` comes for every click but the one that opens the menu.
    [[nodiscard]] virtual Subscription onClick(std::function<void(Button)> callback) = 0;

    /// Whether a tray shows it now.
    [[nodiscard]] virtual bool isShown() const = 0;
};

}  // namespace dravo
