#include "platform/posix/termination_guard.h"

#include <pthread.h>
#include <unistd.h>

#include <utility>

namespace dravo::posix {

namespace {

// Sent to the guard's own thread only, to let it leave `sigwait` when the program ends without a signal.
constexpr int kWakeSignal = SIGUSR2;

sigset_t signalsToWaitFor() {
    sigset_t signals = TerminationGuard::guardedSignals();
    sigaddset(&signals, kWakeSignal);
    return signals;
}

}  // namespace

sigset_t TerminationGuard::guardedSignals() {
    sigset_t signals;
    sigemptyset(&signals);
    for (const int signal : {SIGTERM, SIGINT, SIGHUP, SIGQUIT}) sigaddset(&signals, signal);
    return signals;
}

void TerminationGuard::blockTerminationSignals() {
    const sigset_t signals = signalsToWaitFor();
    pthread_sigmask(SIG_BLOCK, &signals, nullptr);
    std::signal(SIGPIPE, SIG_IGN);
}

TerminationGuard::TerminationGuard(std::function<void()> prepare, std::function<void()> restore)
    : prepare_(std::move(prepare)), restore_(std::move(restore)), thread_([this] { waitForSignal(); }) {}

TerminationGuard::~TerminationGuard() {
    stopped_.store(true, std::memory_order_release);
    pthread_kill(thread_.native_handle(), kWakeSignal);
    thread_.join();
}

void TerminationGuard::standStillIfEnding() const {
    while (isEnding()) pause();
}

void TerminationGuard::waitForSignal() {
    prepare_();
    ready_.store(true, std::memory_order_release);
    ready_.notify_all();

    const sigset_t signals = signalsToWaitFor();
    int received = 0;
    while (sigwait(&signals, &received) != 0 || received == kWakeSignal)
        if (stopped_.load(std::memory_order_acquire)) return;

    ending_.store(true, std::memory_order_release);
    restore_();

    // A shell starts its background jobs with SIGINT ignored: the default has to be set, not assumed.
    std::signal(received, SIG_DFL);
    sigset_t raised;
    sigemptyset(&raised);
    sigaddset(&raised, received);
    pthread_sigmask(SIG_UNBLOCK, &raised, nullptr);
    raise(received);
    _exit(128 + received);  // not reached: the default of each of the four ends the process
}

}  // namespace dravo::posix
