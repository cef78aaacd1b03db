#include "run/filter_run.h"

#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <string>

#include "base/localized.h"
#include "base/report.h"
#include "platform/posix/end_interceptor.h"

namespace dravo {
namespace {

// A little longer than the displays wait for it, who then say that it is gone.
constexpr std::chrono::seconds kCompositorPatience{130};

}  // namespace

cli::ExitCode FilterRun::run(RunKind kind, const std::optional<ControlRequest>& first) {
    session_ = std::make_unique<RunSession>();
    if (const auto end = session_->open(kind)) return *end;
    engine_ = std::make_unique<RunEngine>(*session_);
    if (const auto launched = engine_->launch(); !launched) return giveUp(launched.error());
    if (const auto loaded = loadSystemd(); !loaded) return giveUp(loaded.error());
    listen();
    desktop_ =
        std::make_unique<RunDesktop>(*session_, *engine_,
                                     RunDesktop::Actions{[this] { return engine_->restore(); }, [this] { quit(); },
                                                         [this] { relaunch(); }, [this] { outliveToolkit(); }});
    const auto& inherited = session_->inherited;
    if (first && !inherited) desktop_->carryOut(*first);
    if (kind != RunKind::headless && (!inherited || inherited->hasPanel)) startPanel();
    const int code = desktop_->run(kind);
    guard().standStillIfEnding();
    return static_cast<cli::ExitCode>(code);
}

cli::ExitCode FilterRun::giveUp(const Error& why) {
    report(why.message);
    engine_->giveBack();
    return cli::ExitCode::FileTrouble;
}

void FilterRun::listen() {
    auto& loop = session_->loop;
    session_->session->listen(loop, loop);
    loss_ = session_->session->displays().onLoss([this] { serverIsGone(); });
    offRequest_.emplace(loop, SIGUSR1, [this] {
        const auto isOff = engine_->restore();
        if (session_->lock) session_->lock->answer(isOff ? kIsOff : localized(isOff.error().message));
    });
    quitRequest_.emplace(loop, SIGUSR2, [this] { quit(); });
}

// A toolkit that cannot start ends the process, and some of its plug-ins crash. The filter's run goes on without it.
void FilterRun::startPanel() {
    const auto line = [](const Sentence& why) {
        return saidBy("dravo", Sentence(textKey("there is no panel: %@"), {why}));
    };
    std::string told = line(textKey("the toolkit cannot start"));
    auto successor = makeSuccessor(false);
    const posix::EndInterceptor otherwise([&] {
        [[maybe_unused]] const auto written = ::write(STDERR_FILENO, told.data(), told.size());
        static_cast<void>(startSuccessor(successor));
        session_->session->lastWord().speak();
    });
    desktop_->startPanel([&](const std::string& why) { told = line(why); });
}

void FilterRun::quit() {
    engine_->giveBack();
    session_->loop.quit(static_cast<int>(cli::ExitCode::Ok));
}

posix::ProgramReplacement FilterRun::makeSuccessor(bool hasPanel) const {
    const int lock = session_->lock ? session_->lock->descriptor() : -1;
    const HandOver handOver{::getpid(), lock, engine_->grayscale.isOurs(), hasPanel,
                            engine_->filterState->runningState()};
    return {kHandOverVariable, encodeHandOver(handOver), lock};
}

// The displays keep what they show, the saved tables stay, and signals wait for the successor's guard.
int FilterRun::startSuccessor(posix::ProgramReplacement& successor) {
    guard().suspend();
    const int reason = successor.start();
    guard().resume();
    return reason;
}

void FilterRun::relaunch() {
    const auto failed = [](const Error& error) {
        report(Sentence(textKey("cannot start again: %@"), {error.message}));
    };
    // What is on the displays would be the successor's only knowledge of them.
    LastingDisplays* const lasting = session_->session->lasting();
    const auto prepared = lasting ? lasting->prepareHandOver() : Result<void>();
    if (!prepared) return failed(prepared.error());
    engine_->save();
    auto successor = makeSuccessor(true);
    std::fflush(nullptr);
    failed(successor.failure(startSuccessor(successor)));
}

void FilterRun::serverIsGone() {
    guard().standStillIfEnding();  // it was the guard that took the connection away
    engine_->save();
    // The toolkit's connection breaks, too.
    if (!isServerGone_) report(textKey("the display server is gone"));
    isServerGone_ = true;
    session_->loop.quit(static_cast<int>(cli::ExitCode::NoDisplayServer));
}

// From here nothing returns to the toolkit, which would end the process. An X server is gone for good. A Wayland
// compositor may start anew: the loop goes on as without a panel until it does, and the successor has one again.
void FilterRun::outliveToolkit() {
    auto& loop = session_->loop;
    int code = static_cast<int>(cli::ExitCode::NoDisplayServer);
    if (session_->isWayland && !loop.isTurning()) {
        desktop_->loseToolkit();
        auto& displays = session_->session->displays();
        const Subscription back = displays.onListChange([&] {
            const auto list = displays.list();
            const auto isReady = [](const DisplayDescription& display) { return display.state == DisplayState::ready; };
            if (list && std::ranges::any_of(*list, isReady)) loop.post([this] { relaunch(); });
        });
        const Timer patience = loop.after(kCompositorPatience, [this] { serverIsGone(); });
        code = loop.run();
    } else {
        serverIsGone();
    }
    guard().standStillIfEnding();
    std::fflush(nullptr);
    ::_exit(code);
}

}  // namespace dravo
