#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "app/filter_control.h"
#include "app/keyboard_shortcut_manager.h"
#include "app/launch_at_login.h"
#include "app/updater.h"
#include "platform/dbus/bus_control_service.h"
#include "run/panel_run.h"
#include "run/run_engine.h"
#include "run/run_session.h"
#include "session/desktop_examination.h"

namespace dravo {

/// The last of a run's three steps: the shortcut, control from outside, and the tray icon with its panel. Part of the
/// composition root. Nothing of it exists before the first table is on screen.
class RunDesktop {
public:
    /// What a person or another program can ask the run for.
    struct Actions {
        std::function<Result<void>()> restore;  ///< As `request::Restore`.
        std::function<void()> quit;
        std::function<void()> relaunch;
        std::function<void()> onServerLoss;  ///< As in `DesktopShellParts`.
    };

    /// Takes the shortcut and begins to serve control. REQUIRES: the engine is launched.
    RunDesktop(RunSession& session, RunEngine& engine, Actions actions);
    RunDesktop(const RunDesktop&) = delete;
    RunDesktop& operator=(const RunDesktop&) = delete;

    /// Loads the toolkit. Without a panel the run goes on; why has been said.
    /// `onFailure` as in `DesktopShellParts`.
    void startPanel(const std::function<void(const std::string& why)>& onFailure);

    void carryOut(const ControlRequest& request);

    /// Runs until the loop is ended; its exit code.
    int run(RunKind kind);

private:
    Result<void> showPanel();
    [[nodiscard]] Subscription examine(Examination::Told onDone);
    [[nodiscard]] Finding panelFinding() const;

    RunSession& session_;
    RunEngine& engine_;
    Actions actions_;
    std::unique_ptr<HotKeyService> hotKeys_;
    KeyboardShortcutManager shortcutManager_;
    FilterControl control_;
    dbus::BusControlService controlService_;
    std::unique_ptr<AppearanceService> appearance_;
    std::unique_ptr<SystemSettings> systemSettings_;
    std::unique_ptr<LoginItemService> loginItems_;
    std::unique_ptr<LaunchAtLogin> launchAtLogin_;
    std::unique_ptr<UpdateFeed> updateFeed_;
    std::unique_ptr<Updater> updater_;
    std::unique_ptr<PanelRun> panel_;
    std::unique_ptr<DesktopExamination> examination_;  ///< Once somebody has asked.
};

}  // namespace dravo
