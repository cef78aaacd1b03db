#pragma once

#include <memory>
#include <optional>

#include "app/run_kind.h"
#include "cli/exit_code.h"
#include "platform/posix/replace_program.h"
#include "platform/posix/signal_watch.h"
#include "run/run_desktop.h"
#include "run/run_engine.h"
#include "run/run_session.h"

namespace dravo {

/// What a run answers in its lock to SIGUSR1, once the server has confirmed that the displays have their tables back.
/// Any other answer says why they have not.
inline constexpr const char* kIsOff = "off";

/// The run that filters the screen, put together in three steps: session, engine, desktop. What it knows beyond them
/// is how a run ends, and how it passes on to a successor. Part of the composition root.
///
/// REQUIRES: `TerminationGuard::blockSignals` came first in `main`.
class FilterRun {
public:
    /// Runs until somebody ends it, and begins with `first`.
    cli::ExitCode run(RunKind kind, const std::optional<ControlRequest>& first = {});

private:
    cli::ExitCode giveUp(const Error& why);
    void listen();
    void startPanel();
    void quit();
    [[nodiscard]] posix::ProgramReplacement makeSuccessor(bool hasPanel) const;
    int startSuccessor(posix::ProgramReplacement& successor);
    void relaunch();
    void serverIsGone();
    [[noreturn]] void outliveToolkit();
    [[nodiscard]] posix::TerminationGuard& guard() const { return **session_->guard; }

    std::unique_ptr<RunSession> session_;
    std::unique_ptr<RunEngine> engine_;
    std::unique_ptr<RunDesktop> desktop_;
    std::optional<posix::SignalWatch> offRequest_;
    std::optional<posix::SignalWatch> quitRequest_;
    bool isServerGone_ = false;
    Subscription loss_;
};

}  // namespace dravo
