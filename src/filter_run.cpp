#include "filter_run.h"

#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <cstdlib>

#include "base/localized.h"
#include "base/report.h"
#include "platform/dbus/bus_control_client.h"

namespace dravo {

cli::ExitCode FilterRun::run(RunKind kind, const std::optional<ControlRequest>& first) {
    if (!takeLock(kind)) return failure_;
    auto guard = posix::TerminationGuard::create(
        [this] { return session_->lastWord().open().hasValue(); }, [this] { session_->lastWord().speak(); },
        inherited_ ? posix::TerminationGuard::Found::ours : posix::TerminationGuard::Found::theirOwn);
    if (guard) guard_ = std::move(*guard);
    if (!connect()) return failure_;
    if (!launch()) return giveUp(guard.error());
    if (const auto loaded = loadSystemd(); !loaded) return giveUp(loaded.error());
    listen();
    if (first && !inherited_) carryOut(*first);
    if (kind != RunKind::headless && (!inherited_ || inherited_->hasPanel)) startDesktop();
    const int code = desktop_ ? desktop_->run(kind) : loop_.run();
    guard_->standStillIfEnding();
    return static_cast<cli::ExitCode>(code);
}

// Only from this very process: what a child finds in its environment is not for it.
std::optional<HandOver> FilterRun::inheritance() {
    const char* const text = std::getenv(kHandOverVariable);
    if (!text) return std::nullopt;
    auto handOver = decodeHandOver(text);
    ::unsetenv(kHandOverVariable);
    if (handOver && handOver->process != ::getpid()) handOver.reset();
    if (handOver) posix::letGoOfFileWatches();
    return handOver;
}

bool FilterRun::takeLock(RunKind kind) {
    if (inherited_ && inherited_->lock >= 0) {
        lock_.emplace(posix::InstanceLock::adopt(inherited_->lock));
        return true;
    }
    auto lock = posix::InstanceLock::acquire(folder_);
    if (lock) {
        lock_.emplace(std::move(*lock));
        return true;
    }
    if (lock.error().code == ErrorCode::Busy) {
        giveWay(kind, lock.error().nativeCode);
        return false;
    }
    reportOnce("no-lock", filled(localized("%@; a second Dravo would not be noticed"), {lock.error().message}));
    return true;
}

// Only a person's start asks for the panel: at login the desktop may start it twice, by an entry and by a unit.
void FilterRun::giveWay(RunKind kind, int holder) {
    const auto shown = kind == RunKind::byPerson ? dbus::BusControlClient().ask(request::Activate{}) : ControlAnswer{};
    if (shown) {
        std::puts(localized("Dravo is running already.").c_str());
        return;
    }
    const std::string refusal =
        shown.error().code == ErrorCode::Unsupported ? shown.error().message
        : holder > 0 ? filled(localized("Dravo is already running (process %@)"), {std::to_string(holder)})
                     : localized("Dravo is already running");
    std::fprintf(stderr, "dravo: %s\n", refusal.c_str());
    failure_ = cli::ExitCode::Refused;
}

bool FilterRun::connect() {
    const auto opened = session_->openDisplays(originalGamma_, loop_);
    if (opened) return true;
    std::fprintf(stderr, "dravo: %s\n", localized(opened.error().message).c_str());
    failure_ = cli::ExitCode::NoDisplayServer;
    return false;
}

// False without a guard: nothing is then written but the displays' own tables.
bool FilterRun::launch() {
    originalGamma_.onUnsynced = [this](const std::filesystem::path& path) {
        loop_.post([this, path] { backgroundSync_.sync(path); });
    };
    auto& displays = session_->displays();
    grayscale_.emplace(session_->grayscale(), originalGamma_);
    applicator_.emplace(displays, wakeSource_, loop_);
    defaults_.setMayWrite([this] { return !applicator_->isRamping(); });
    using Beginning = LastingDisplays::Beginning;
    LastingDisplays* const lasting = session_->lasting();
    const bool wasUnclean = lasting && lasting->begin(inherited_ ? Beginning::goingOn : Beginning::afresh);
    if (inherited_ && inherited_->hasGrayOn) {
        grayscale_->takeOver();
    } else {
        grayscale_->undoUncleanRun();
    }
    if (wasUnclean && !inherited_) {
        std::puts("Restored gamma from previous crash");
        std::fflush(stdout);
    }
    if (!guard_) return false;
    guard_->waitUntilReady();
    if (!session_->isGuarded()) reportOnce("unguarded", localized(kUnguarded));
    filterState_.emplace(FilterStateParts{loop_, calendar_, preferences_, customPresets_, breakTimer_,
                                          locationProvider_, *applicator_, *grayscale_, wakeSource_,
                                          inherited_ ? std::optional(inherited_->state) : std::nullopt});
    guard_->takeCharge();
    return true;
}

cli::ExitCode FilterRun::giveUp(const Error& why) {
    std::fprintf(stderr, "dravo: %s\n", why.message.c_str());
    giveBack();
    return cli::ExitCode::FileTrouble;
}

void FilterRun::listen() {
    session_->listen(loop_, loop_);
    loss_ = session_->displays().onLoss([this] { serverIsGone(); });
    shortcutManager_.onToggle = [this] { filterState_->toggle(); };
    shortcutManager_.registerIfEnabled();
    offRequest_.emplace(loop_, SIGUSR1, [this] {
        const auto isOff = restore();
        if (lock_) lock_->answer(isOff ? kIsOff : isOff.error().message);
    });
    quitRequest_.emplace(loop_, SIGUSR2, [this] { quit(); });
    control_.emplace(FilterControlParts{
        *filterState_, preferences_, customPresets_, breakTimer_, locationProvider_, session_->displays(), *grayscale_,
        loop_, calendar_, [this] { return showPanel(); }, [this] { quit(); }, [this] { return restore(); }});
    controlService_.emplace(sessionBus_, loop_);
    controlService_->serve(*control_);
    loop_.post([this] { breakNotifier_.refreshStatus(); });
}

void FilterRun::carryOut(const ControlRequest& request) {
    const auto done = control_->carryOut(request);
    if (!done) std::fprintf(stderr, "dravo: %s\n", done.error().message.c_str());
}

void FilterRun::startDesktop() {
    const char* const feed = std::getenv("DRAVO_UPDATE_FEED");
    updateFeed_.emplace(loop_, loop_, "Dravo/" DRAVO_VERSION);
    updater_.emplace(*updateFeed_, loop_, DRAVO_VERSION,
                     feedAddress(DRAVO_UPDATE_FEED, feed ? std::optional<std::string>(feed) : std::nullopt));
    // A toolkit that cannot start ends the process, and some of its plug-ins crash. The filter's run goes on without
    // it.
    const auto line = [](const std::string& why) {
        return "dravo: " + filled(localized("there is no panel: %@"), {why}) + '\n';
    };
    std::string told = line(localized("the toolkit cannot start"));
    auto successor = makeSuccessor(false);
    const posix::EndInterceptor otherwise([&] {
        [[maybe_unused]] const auto written = ::write(STDERR_FILENO, told.data(), told.size());
        static_cast<void>(startSuccessor(successor));
        session_->lastWord().speak();
    });
    auto desktop = DesktopRun::create(
        {{*filterState_, preferences_, customPresets_, breakTimer_, breakNotifier_, locationProvider_, *applicator_,
          *grayscale_, session_->displays(), *control_, shortcutManager_, launchAtLogin_, loop_, calendar_, appearance_,
          systemSettings_, *updater_, [this] { relaunch(); }, [this] { quit(); }},
         loop_,
         [this] {
             serverIsGone();
             ::_exit(static_cast<int>(cli::ExitCode::NoDisplayServer));
         },
         [&](const std::string& why) { told = line(why); }});
    if (desktop) {
        desktop_ = std::move(*desktop);
    } else {
        reportOnce("no-desktop", filled(localized("there is no panel: %@"), {desktop.error().message}));
    }
}

Result<void> FilterRun::showPanel() {
    if (!desktop_) return Error{ErrorCode::Unsupported, localized("the running Dravo has no panel")};
    desktop_->showPanel();
    return {};
}

Result<void> FilterRun::restore() {
    filterState_->turnOff();
    return applicator_->resetAtOnce();
}

void FilterRun::giveBack() {
    if (filterState_) filterState_->saveNow();
    grayscale_->shutDown();
    // Unconfirmed, the saved tables stay: the next start gives the displays back.
    if (applicator_->shutDown() && !grayscale_->isOurs() && session_->lasting()) originalGamma_.clear();
    defaults_.flush();
}

void FilterRun::quit() {
    giveBack();
    loop_.quit(static_cast<int>(cli::ExitCode::Ok));
}

posix::ProgramReplacement FilterRun::makeSuccessor(bool hasPanel) const {
    const int lock = lock_ ? lock_->descriptor() : -1;
    const HandOver handOver{::getpid(), lock, grayscale_->isOurs(), hasPanel, filterState_->runningState()};
    return {kHandOverVariable, encodeHandOver(handOver), lock};
}

// The displays keep what they show, the saved tables stay, and signals wait for the successor's guard.
int FilterRun::startSuccessor(posix::ProgramReplacement& successor) {
    guard_->suspend();
    const int reason = successor.start();
    guard_->resume();
    return reason;
}

void FilterRun::relaunch() {
    const auto failed = [](const Error& error) {
        const std::string told = filled(localized("cannot start again: %@"), {error.message});
        std::fprintf(stderr, "dravo: %s\n", told.c_str());
    };
    // What is on the displays would be the successor's only knowledge of them.
    LastingDisplays* const lasting = session_->lasting();
    const auto prepared = lasting ? lasting->prepareHandOver() : Result<void>();
    if (!prepared) return failed(prepared.error());
    filterState_->saveNow();
    defaults_.flush();
    auto successor = makeSuccessor(true);
    std::fflush(nullptr);
    failed(successor.failure(startSuccessor(successor)));
}

void FilterRun::serverIsGone() {
    guard_->standStillIfEnding();  // it was the guard that took the connection away
    filterState_->saveNow();
    defaults_.flush();
    // The toolkit's connection breaks, too.
    if (!isServerGone_) std::fprintf(stderr, "dravo: %s\n", localized("the display server is gone").c_str());
    isServerGone_ = true;
    loop_.quit(static_cast<int>(cli::ExitCode::NoDisplayServer));
}

}  // namespace dravo
