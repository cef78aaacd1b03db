#pragma once

#include <functional>
#include <optional>
#include <string>

#include "app/panel_parts.h"
#include "app/popover.h"
#include "app/status_item.h"
#include "base/guest_loop.h"
#include "base/probe.h"
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
    std::function<void()> onServerLoss;  ///< The toolkit is about to end the process: its display server is gone.
    std::function<void(const std::string& why)> onFailure;  ///< The same: it cannot start.
};

/// The name of the function through which the desktop module makes its shell, and its type. The
/// caller owns the shell. It answers null if the module was not built for `version` of the program.
inline constexpr const char* kDesktopModuleEntry = "dravoDesktop";
using DesktopModuleEntry = DesktopShell* (*)(const char* version, const DesktopShellParts& parts);

/// The same of the function that tells, without starting it, whether the toolkit could start here. It leaves `finding`
/// as it is if the module was not built for `version`.
inline constexpr const char* kDesktopModuleProbe = "dravoDesktopProbe";
using DesktopModuleProbe = void (*)(const char* version, std::optional<Finding>& finding);

}  // namespace dravo
