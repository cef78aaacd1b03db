#pragma once

#include <functional>

#include "base/subscription.h"

namespace dravo {

/// The desktop's own night light. Its tint and ours are not both meant: where it is on, a person is told, and may have
/// it switched off until tomorrow.
///
/// Never waits and never fails: nothing is known before the desktop has answered.
/// Thread: main thread. Lifetime: outlives every Subscription it handed out.
class NightLight {
public:
    enum class State {
        absent,  ///< There is none, or nobody has answered yet.
        off,     ///< It tints nothing: switched off, or it is day.
        on,      ///< It tints what is on screen, or would without our filter.
        paused,  ///< Off until tomorrow, because of `pause`.
    };

    virtual ~NightLight() = default;

    [[nodiscard]] virtual State state() const = 0;

    /// Switches it off until tomorrow if it is on. That is noted in the saved tables before it is done, so that a later
    /// start knows what to give back.
    virtual void pause() = 0;

    /// Lets it go on if `pause` has switched it off and nobody has chosen otherwise since; else nothing.
    virtual void giveBack() = 0;

    /// What an earlier run has paused: gives it back, or answers for it from now on, for a program that goes on where
    /// its predecessor in this process was. One of the two comes first, once, after the saved tables were read.
    virtual void undoUncleanRun() = 0;
    virtual void takeOver() = 0;

    /// `callback` runs after every change of the state.
    [[nodiscard]] virtual Subscription onChange(std::function<void()> callback) = 0;
};

}  // namespace dravo
