#pragma once

#include "base/result.h"

namespace dravo {

/// What can still be done for the displays when the process is told to end and the main thread is stuck.
///
/// Thread: `open` and `speak` run on the guard's thread; what they read is handed over under a lock.
class LastWord {
public:
    virtual ~LastWord() = default;

    /// Makes ready what `speak` will need: a connection of its own. Errors: `Disconnected`.
    virtual Result<void> open() = 0;

    /// Gives the displays back, past everything that the main thread may still send, and waits for the server's
    /// confirmation, two seconds at most.
    virtual void speak() = 0;
};

}  // namespace dravo
