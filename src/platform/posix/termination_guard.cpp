#include "platform/posix/termination_guard.h"

#include <pthread.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <ctime>
#include <initializer_list>
#include <system_error>
#include <utility>

#include "base/localized.h"

namespace dravo::posix {

namespace {

// Sent to the guard's own thread only, to let it leave its wait for other reasons than the program's end.
int wakeSignal() { return SIGRTMIN; }

sigset_t signalSet(std::initializer_list<int> members) {
    sigset_t signals;
    sigemptyset(&signals);
    for (const int signal : members) sigaddset(&signals, signal);
    return signals;
}

// Whoever started the program with the terminal's hang-up ignored wants it to outlive the terminal.
sigset_t endingSignals() {
    sigset_t signals = signalSet({SIGTERM, SIGINT, SIGHUP, SIGQUIT});
    struct sigaction hangUp {};
    if (sigaction(SIGHUP, nullptr, &hangUp) == 0 && hangUp.sa_handler == SIG_IGN) sigdelset(&signals, SIGHUP);
    return signals;
}

}  // namespace

void TerminationGuard::blockSignals() {
    const sigset_t ending = endingSignals();
    const sigset_t others = signalSet({SIGUSR1, SIGUSR2, wakeSignal()});
    pthread_sigmask(SIG_BLOCK, &ending, nullptr);
    pthread_sigmask(SIG_BLOCK, &others, nullptr);
    // A shell starts its background jobs with SIGINT ignored: the default has to be set, not assumed.
    for (const int signal : {SIGTERM, SIGINT, SIGQUIT}) std::signal(signal, SIG_DFL);
    std::signal(SIGPIPE, SIG_IGN);
}

Result<std::unique_ptr<TerminationGuard>> TerminationGuard::create(std::function<bool()> prepare,
                                                                   std::function<void()> restore, Found found) {
    std::unique_ptr<TerminationGuard> guard(new TerminationGuard(std::move(prepare), std::move(restore), found));
    try {
        guard->thread_ = std::thread([self = guard.get()] { self->watch(); });
    } catch (const std::system_error& refusal) {
        return Error{ErrorCode::Busy, textKey("the system grants no thread to guard the displays"),
                     refusal.code().value()};
    }
    return guard;
}

TerminationGuard::TerminationGuard(std::function<bool()> prepare, std::function<void()> restore, Found found)
    : prepare_(std::move(prepare)),
      restore_(std::move(restore)),
      found_(found),
      isInCharge_(found == Found::theirOwn) {}

TerminationGuard::~TerminationGuard() {
    if (!thread_.joinable()) return;
    takeCharge();
    change(Duty::end);
    thread_.join();
}

void TerminationGuard::takeCharge() {
    isInCharge_.store(true, std::memory_order_release);
    isInCharge_.notify_all();
}

void TerminationGuard::suspend() {
    change(Duty::rest);
    isResting_.wait(false, std::memory_order_acquire);
}

void TerminationGuard::resume() {
    change(Duty::watch);
    isResting_.wait(true, std::memory_order_acquire);
}

void TerminationGuard::change(Duty duty) {
    duty_.store(duty, std::memory_order_release);
    duty_.notify_all();
    pthread_kill(thread_.native_handle(), wakeSignal());
}

void TerminationGuard::standStillIfEnding() const {
    while (isEnding()) pause();
}

void TerminationGuard::watch() {
    // A server that does not answer may hold up the preparation for good: as long as nothing of ours is on the
    // displays, a signal simply ends the process.
    const sigset_t ending = endingSignals();
    if (found_ == Found::theirOwn) pthread_sigmask(SIG_UNBLOCK, &ending, nullptr);
    bool isPrepared = prepare_();
    pthread_sigmask(SIG_BLOCK, &ending, nullptr);
    isReady_.store(true, std::memory_order_release);
    isReady_.notify_all();
    isInCharge_.wait(false, std::memory_order_acquire);

    sigset_t awaited = ending;
    sigaddset(&awaited, wakeSignal());
    timespec pauseBetweenTries{1, 0};
    for (;;) {
        const int received =
            isPrepared ? sigwaitinfo(&awaited, nullptr) : sigtimedwait(&awaited, nullptr, &pauseBetweenTries);
        if (received == wakeSignal()) {
            if (!isToGoOn()) return;
        } else if (received > 0) {
            end(received);
        } else if (!isPrepared && errno == EAGAIN) {
            isPrepared = prepare_();
            // Each refusal may leave a line on standard error, out of our hands.
            pauseBetweenTries.tv_sec = std::min<time_t>(2 * pauseBetweenTries.tv_sec, 60);
        }
    }
}

bool TerminationGuard::isToGoOn() {
    if (duty_.load(std::memory_order_acquire) == Duty::rest) {
        setResting(true);
        duty_.wait(Duty::rest, std::memory_order_acquire);
        setResting(false);
    }
    return duty_.load(std::memory_order_acquire) != Duty::end;
}

void TerminationGuard::setResting(bool isResting) {
    isResting_.store(isResting, std::memory_order_release);
    isResting_.notify_all();
}

void TerminationGuard::end(int signal) {
    isEnding_.store(true, std::memory_order_release);
    restore_();
    // Whatever a library of ours may have made of it meanwhile.
    std::signal(signal, SIG_DFL);
    const sigset_t raised = signalSet({signal});
    pthread_sigmask(SIG_UNBLOCK, &raised, nullptr);
    raise(signal);
    _exit(128 + signal);  // not reached: the default of each of the four ends the process
}

}  // namespace dravo::posix
