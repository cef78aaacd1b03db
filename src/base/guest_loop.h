#pragma once

#include <optional>

namespace dravo {

/// An event loop that lives inside another one, which waits for both.
///
/// The host calls `turn()` whenever the descriptor is readable, and before each time that it waits: what its own
/// callbacks posted or timed here shows on the descriptor only after a turn.
/// Thread: the thread of the host.
class GuestLoop {
public:
    virtual ~GuestLoop() = default;

    /// Readable when there is something to do. The loop's own.
    [[nodiscard]] virtual int descriptor() = 0;

    /// Runs one callback that is due, without waiting; whether there was one.
    virtual bool turn() = 0;

    /// Set once somebody ended the loop: no further turn does anything.
    [[nodiscard]] virtual std::optional<int> exitCode() = 0;
};

}  // namespace dravo
