#pragma once

#include <functional>
#include <string>

#include "app/panel_parts.h"
#include "app/popover.h"
#include "app/status_item.h"
#include "base/guest_loop.h"
#include "base/scheduler.h"

namespace dravo {

/// The toolkit's side of the program: the loop that drives everything once it is there, the tray icon and the panel.
///
/// Thread: main thread. Lifetime: made once the first table is on screen, gone before what it was made with.
class DesktopShell {
public:
    virtual ~DesktopShell() = default;

    /// Runs until the program's own loop is ended, and gives its exit code.
    virtual int run() = 0;

    [[nodiscard]] virtual StatusItem& statusItem() = 0;
    [[nodiscard]] virtual Popover& popover() = 0;

    /// The time of day as the person's locale writes it.
    [[nodiscard]] virtual std::string shortTime(WallTime instant) const = 0;
};

/// What a shell is made with; all of it outlives the shell.
struct DesktopShellParts {
    GuestLoop& loop;
    PanelParts panel;
    /// The toolkit is about to end the process: its display server is gone. Need not return.
    std::function<void()> onServerLoss;
    std::function<void(const std::string& why)> onFailure;  ///< The same: it cannot start.
    bool isWayland = false;                                 ///< What shows its windows; else an X server.
};

/// The name of the function through which the desktop module makes its shell, and its type. The
/// caller owns the shell. It answers null if the module was not built for `version` of the program.
inline constexpr const char* kDesktopModuleEntry = "dravoDesktop";
using DesktopModuleEntry = DesktopShell* (*)(const char* version, const DesktopShellParts& parts);

}  // namespace dravo
