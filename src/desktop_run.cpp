#include "desktop_run.h"

#include "base/localized.h"
#include "platform/posix/program_module.h"
#include "platform/posix/thread_trial.h"

namespace dravo {

Result<std::unique_ptr<DesktopRun>> DesktopRun::create(const DesktopRunParts& parts) {
    // The toolkit waits for good for a thread that it does not get.
    if (const auto granted = posix::tryThreads(2); !granted) return granted.error();
    const auto found = posix::findInModule("dravo-desktop.so", kDesktopModuleEntry);
    if (!found) return found.error();
    const auto entry = reinterpret_cast<DesktopModuleEntry>(*found);
    std::unique_ptr<DesktopShell> shell(
        entry(DRAVO_VERSION, {parts.loop, parts.panel, parts.onServerLoss, parts.onFailure}));
    if (!shell)
        return Error{ErrorCode::Unsupported,
                     filled(localized("%@ belongs to another version of Dravo"), {"dravo-desktop.so"})};
    return std::unique_ptr<DesktopRun>(new DesktopRun(std::move(shell), parts));
}

DesktopRun::DesktopRun(std::unique_ptr<DesktopShell> shell, const DesktopRunParts& parts)
    : shell_(std::move(shell)),
      delegate_({parts.panel.filterState, parts.panel.preferences, parts.panel.displays, shell_->statusItem(),
                 shell_->popover(), parts.panel.scheduler,
                 [this](WallTime instant) { return shell_->shortTime(instant); },
                 [updater = &parts.panel.updater] { updater->check(); }, parts.panel.quit}) {}

int DesktopRun::run(RunKind kind) {
    delegate_.finishLaunching(kind);
    return shell_->run();
}

}  // namespace dravo
