#include "run/panel_run.h"

#include <utility>

#include "base/localized.h"
#include "platform/posix/program_module.h"
#include "platform/posix/thread_trial.h"

namespace dravo {

namespace {

constexpr const char* kModule = "dravo-desktop.so";

Error ofAnotherVersion() {
    return {ErrorCode::Unsupported, Sentence(textKey("%@ belongs to another version of Dravo"), {kModule})};
}

}  // namespace

Finding PanelRun::probe() {
    const auto found = posix::findInModule(kModule, kDesktopModuleProbe);
    if (!found) return findingOf(found.error());
    std::optional<Finding> finding;
    reinterpret_cast<DesktopModuleProbe> (*found)(DRAVO_VERSION, finding);
    return finding ? *finding : findingOf(ofAnotherVersion());
}

Result<std::unique_ptr<PanelRun>> PanelRun::create(const DesktopShellParts& parts) {
    // The toolkit waits for good for a thread that it does not get.
    if (const auto granted = posix::tryThreads(2); !granted) return granted.error();
    const auto found = posix::findInModule(kModule, kDesktopModuleEntry);
    if (!found) return found.error();
    const auto entry = reinterpret_cast<DesktopModuleEntry>(*found);
    std::unique_ptr<DesktopShell> shell(entry(DRAVO_VERSION, parts));
    if (!shell) return ofAnotherVersion();
    return std::unique_ptr<PanelRun>(new PanelRun(std::move(shell), parts.panel));
}

PanelRun::PanelRun(std::unique_ptr<DesktopShell> shell, const PanelParts& parts)
    : shell_(std::move(shell)),
      delegate_({parts.filterState, parts.preferences, parts.displays, shell_->statusItem(), shell_->popover(),
                 parts.scheduler, [this](WallTime instant) { return shell_->shortTime(instant); },
                 [updater = &parts.updater] { updater->check(); }, parts.quit}) {}

int PanelRun::run(RunKind kind) {
    delegate_.finishLaunching(kind);
    return shell_->run();
}

}  // namespace dravo
