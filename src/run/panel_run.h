#pragma once

#include <memory>

#include "app/app_delegate.h"
#include "app/desktop_shell.h"
#include "app/run_kind.h"
#include "base/result.h"

namespace dravo {

/// The module with the toolkit, and the delegate over its tray icon and panel. Part of the composition root.
///
/// Thread: main thread.
class PanelRun {
public:
    /// Loads the module and starts the toolkit: some 20 ms, after the first table.
    /// Errors: `NotFound`, `Unsupported` (no module of this version), `Busy` (no thread for it); the run then goes on
    /// without a panel. A toolkit that cannot start calls `onFailure` and ends the process.
    [[nodiscard]] static Result<std::unique_ptr<PanelRun>> create(const DesktopShellParts& parts);

    /// Whether `create` could make one.
    [[nodiscard]] static Finding probe();

    /// Runs the loops until the program's own is ended; its exit code.
    int run(RunKind kind);

    void show() { delegate_.showPopover(); }

private:
    PanelRun(std::unique_ptr<DesktopShell> shell, const PanelParts& parts);

    std::unique_ptr<DesktopShell> shell_;
    AppDelegate delegate_;
};

}  // namespace dravo
