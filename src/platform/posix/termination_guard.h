#pragma once

#include <atomic>
#include <functional>
#include <memory>
#include <thread>

#include "base/result.h"

namespace dravo::posix {

/// Gives the displays back when the process is told to end by SIGTERM, SIGINT, SIGHUP or SIGQUIT, also while the main
/// loop is stuck, and lets the process end by that very signal.
///
/// `blockSignals()` comes first thing in `main`, before any thread. The guard's thread then waits for the
/// signals with `sigwaitinfo`, so no program code ever runs in signal context. It calls `restore` once, resets the
/// signal's disposition, unblocks it and raises it.
///
/// `prepare` and `restore` run on the guard's thread: they may use only what they own or what is guarded by a lock that
/// the main thread never holds for long; `restore` must return within about two seconds.
class TerminationGuard {
public:
    /// Gives the four signals their default action and blocks them, and blocks SIGUSR1 and SIGUSR2 for whoever watches
    /// them, in the calling thread and those it starts, and ignores SIGPIPE: a server that closes our connection must
    /// not end us before the displays are given back. A SIGHUP that is ignored (`nohup`) stays so.
    static void blockSignals();

    /// What the displays show when the program starts.
    enum class Found {
        theirOwn,  ///< A signal that comes while `prepare` runs ends the process at once, without `restore`.
        ours,      ///< The program that this one replaced has left it: a signal waits for `takeCharge`.
    };

    /// Starts the thread, which first runs `prepare`, beside what the main thread goes on with. `prepare` says whether
    /// `restore` can do its work; until it can, it is asked again, at first after a second, then ever less often, and
    /// nothing may be on the displays.
    /// Errors: `Busy` (the system grants no thread).
    [[nodiscard]] static Result<std::unique_ptr<TerminationGuard>> create(std::function<bool()> prepare,
                                                                          std::function<void()> restore,
                                                                          Found found = Found::theirOwn);
    ~TerminationGuard();
    TerminationGuard(const TerminationGuard&) = delete;
    TerminationGuard& operator=(const TerminationGuard&) = delete;

    /// Waits until `prepare` has been asked once. Comes before the first write to a display.
    void waitUntilReady() const { isReady_.wait(false, std::memory_order_acquire); }

    /// From here on `restore` can undo whatever is on the displays. Serves a signal that has waited for it.
    void takeCharge();

    /// Lets signals wait: for a program that replaces this one, or for `resume`. Does not return if one is being
    /// served.
    void suspend();
    void resume();

    /// True once a signal is being served: the main thread must not write, report a lost connection or exit any more.
    [[nodiscard]] bool isEnding() const { return isEnding_.load(std::memory_order_acquire); }

    /// Parks the calling thread if a signal is being served; the process ends under it. Otherwise returns at once.
    void standStillIfEnding() const;

private:
    enum class Duty { watch, rest, end };

    TerminationGuard(std::function<bool()> prepare, std::function<void()> restore, Found found);
    void watch();
    void change(Duty duty);
    [[nodiscard]] bool isToGoOn();
    void setResting(bool isResting);
    [[noreturn]] void end(int signal);

    std::function<bool()> prepare_;
    std::function<void()> restore_;
    Found found_;
    std::atomic<bool> isReady_{false};
    std::atomic<bool> isInCharge_;
    std::atomic<bool> isEnding_{false};
    std::atomic<bool> isResting_{false};
    std::atomic<Duty> duty_{Duty::watch};
    std::thread thread_;
};

}  // namespace dravo::posix
