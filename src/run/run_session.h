#pragma once

#include <cstdlib>
#include <memory>
#include <optional>

#include "app/hand_over.h"
#include "app/run_kind.h"
#include "base/data_folder.h"
#include "base/localized.h"
#include "base/result.h"
#include "cli/exit_code.h"
#include "display/original_gamma_store.h"
#include "filter/preferences_store.h"
#include "platform/files/toml_user_defaults.h"
#include "platform/posix/instance_lock.h"
#include "platform/posix/sd_event_loop.h"
#include "platform/posix/termination_guard.h"
#include "session/session.h"
#include "session/wayland_socket.h"

namespace dravo {

/// The first of a run's three steps: the person's settings and language, the right to filter, what undoes everything at
/// a sudden end, and the displays. Part of the composition root; the later steps build on its members.
struct RunSession {
    /// Reads the settings, and what a predecessor in this process has left.
    RunSession();
    RunSession(const RunSession&) = delete;
    RunSession& operator=(const RunSession&) = delete;

    /// Takes the lock, starts the guard, opens the displays. Otherwise the run ends with this code, and why has been
    /// said: a second start ends at once; a person's opens the first one's panel.
    [[nodiscard]] std::optional<cli::ExitCode> open(RunKind kind);

    const DataFolder folder = DataFolder::ofThisUser();
    posix::SdEventLoop loop;
    OriginalGammaStore originalGamma{folder};
    const bool isWayland = isWaylandSession(std::getenv);
    std::unique_ptr<Session> session;
    std::optional<HandOver> inherited;  ///< From the program that this one replaced.
    std::unique_ptr<files::TomlUserDefaults> defaults;
    std::unique_ptr<PreferencesStore> preferences;
    std::unique_ptr<Localizer> texts;
    std::unique_ptr<InstalledLocalizer> installedTexts;

    std::optional<posix::InstanceLock> lock;
    Result<std::unique_ptr<posix::TerminationGuard>> guard = Error{};  ///< Without, nothing of ours may be shown.

private:
    [[nodiscard]] std::optional<cli::ExitCode> takeLock(RunKind kind);
};

}  // namespace dravo
