#pragma once

#include <functional>
#include <memory>

#include "app/app_delegate.h"
#include "app/desktop_shell.h"
#include "base/result.h"

namespace dravo {

/// What the desktop's side of a run shows and acts on; all of it outlives that side.
struct DesktopRunParts {
    PanelParts panel;
    GuestLoop& loop;
    std::function<void()> onServerLoss;
    std::function<void(const std::string& why)> onFailure;
};

/// The desktop's side of a run: the module with the toolkit, and the delegate over its tray icon and panel. Part of the
/// composition root.
///
/// Thread: main thread.
class DesktopRun {
public:
    /// Loads the module and starts the toolkit: some 20 ms, after the first table.
    /// Errors: `NotFound`, `Unsupported` (no module of this version), `Busy` (no thread for it); the run then goes on
    /// without a panel. A toolkit that cannot start calls `onFailure` and ends the process.
    [[nodiscard]] static Result<std::unique_ptr<DesktopRun>> create(const DesktopRunParts& parts);

    /// Runs the loops until the program's own is ended; its exit code.
    int run(RunKind kind);

    void showPanel() { delegate_.showPopover(); }

private:
    DesktopRun(std::unique_ptr<DesktopShell> shell, const DesktopRunParts& parts);

    std::unique_ptr<DesktopShell> shell_;
    AppDelegate delegate_;
};

}  // namespace dravo
