#include "platform/posix/termination_guard.h"

#include <pthread.h>
#include <unistd.h>

#include <csignal>
#include <initializer_list>
#include <utility>

namespace dravo::posix {

namespace {

// Sent to the guard's own thread only, to let it leave `sigwait` when the program ends without a signal.
int wakeSignal() { return SIGRTMIN; }

sigset_t signalSet(std::initializer_list<int> members) {
    sigset_t signals;
    sigemptyset(&signals);
    for (const int signal : members) sigaddset(&signals, signal);
    return signals;
}

}  // namespace

void TerminationGuard::blockSignals() {
    const sigset_t signals = signalSet({SIGTERM, SIGINT, SIGHUP, SIGQUIT, SIGUSR1, SIGUSR2, wakeSignal()});
    pthread_sigmask(SIG_BLOCK, &signals, nullptr);
    // A shell starts its background jobs with SIGINT ignored: the default has to be set, not assumed.
    for (const int signal : {SIGTERM, SIGINT, SIGHUP, SIGQUIT}) std::signal(signal, SIG_DFL);
    std::signal(SIGPIPE, SIG_IGN);
}

TerminationGuard::TerminationGuard(std::function<void()> prepare, std::function<void()> restore, Found found)
    : prepare_(std::move(prepare)),
      restore_(std::move(restore)),
      found_(found),
      isInCharge_(found == Found::theirOwn),
      thread_([this] {
          prepareForSignals();
          waitForSignal();
      }) {}

TerminationGuard::~TerminationGuard() {
    takeCharge();
    suspend();
}

void TerminationGuard::takeCharge() {
    isInCharge_.store(true, std::memory_order_release);
    isInCharge_.notify_all();
}

void TerminationGuard::suspend() {
    stopped_.store(true, std::memory_order_release);
    pthread_kill(thread_.native_handle(), wakeSignal());
    thread_.join();
}

void TerminationGuard::resume() {
    stopped_.store(false, std::memory_order_release);
    thread_ = std::thread([this] { waitForSignal(); });
}

void TerminationGuard::standStillIfEnding() const {
    while (isEnding()) pause();
}

void TerminationGuard::prepareForSignals() {
    // A server that does not answer may hold up the preparation for good: as long as nothing of ours is on the
    // displays, a signal simply ends the process.
    const sigset_t ending = signalSet({SIGTERM, SIGINT, SIGHUP, SIGQUIT});
    if (found_ == Found::theirOwn) pthread_sigmask(SIG_UNBLOCK, &ending, nullptr);
    prepare_();
    pthread_sigmask(SIG_BLOCK, &ending, nullptr);
    ready_.store(true, std::memory_order_release);
    ready_.notify_all();
    isInCharge_.wait(false, std::memory_order_acquire);
}

void TerminationGuard::waitForSignal() {
    const sigset_t signals = signalSet({SIGTERM, SIGINT, SIGHUP, SIGQUIT, wakeSignal()});
    int received = 0;
    while (sigwait(&signals, &received) != 0 || received == wakeSignal())
        if (stopped_.load(std::memory_order_acquire)) return;

    ending_.store(true, std::memory_order_release);
    restore_();

    const sigset_t raised = signalSet({received});
    pthread_sigmask(SIG_UNBLOCK, &raised, nullptr);
    raise(received);
    _exit(128 + received);  // not reached: the default of each of the four ends the process
}

}  // namespace dravo::posix
