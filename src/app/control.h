#pragma once

#include <functional>

#include "app/control_request.h"
#include "app/examination.h"
#include "base/subscription.h"

namespace dravo {

/// The running program as control from outside sees it: one state, and an answer to every request.
///
/// Thread: main thread. Lifetime: outlives its subscriptions.
class ControlTarget {
public:
    virtual ~ControlTarget() = default;

    [[nodiscard]] virtual ControlState controlState() const = 0;

    /// `callback` runs after something in the state may have changed, but not for a countdown's steps; as often as it
    /// likes.
    [[nodiscard]] virtual Subscription onStateChange(std::function<void()> callback) = 0;

    /// Errors: `InvalidInput` or `NotFound`, with a sentence for whoever asked; nothing has changed then. Others as the
    /// request says.
    virtual Result<ControlAnswer> carryOut(const ControlRequest& request) = 0;

    /// Looks whether everything works here; `onDone` as in `Examination::run`.
    [[nodiscard]] virtual Subscription examine(Examination::Told onDone) = 0;
};

/// Makes a target reachable from outside this process.
class ControlService : public Probed {
public:
    /// Starts to serve, from the loop; never waits. What is missing for it is said in one line on standard error, and
    /// the program goes on without. Call once. Lifetime: `target` outlives this.
    virtual void serve(ControlTarget& target) = 0;
};

/// The running program, seen from another process. Every call waits, for two seconds at most.
///
/// Errors of every call: `NotFound` (no program is running, or there is no session bus to find it on), `Busy` (it runs
/// and does not answer), else the running program's own error with its sentence, its `NotFound` as `InvalidInput`.
///
/// Thread: one thread, without a loop.
class ControlClient {
public:
    virtual ~ControlClient() = default;

    virtual Result<ControlState> state() = 0;

    /// Calls `onState` with the state now and after each change, until it returns false or the program ends: that is
    /// no error. Countdowns alone are no change.
    virtual Result<void> follow(const std::function<bool(const ControlState&)>& onState) = 0;

    virtual Result<ControlAnswer> ask(const ControlRequest& request) = 0;
};

}  // namespace dravo
