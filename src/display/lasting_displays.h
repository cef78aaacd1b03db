#pragma once

#include <vector>

#include "base/result.h"
#include "display/displays.h"

namespace dravo {

/// What every display says of itself while the guard could not give it back.
inline constexpr TextKey kUnguarded = textKey("not filtered until the display server grants another connection");

/// The displays of a session that keeps what is loaded into them when we are gone: what was theirs is saved before
/// the first write, an earlier run may have left something, and a program that replaces this one finds it.
class LastingDisplays : public Displays {
public:
    /// What the displays hold when a run begins.
    enum class Beginning {
        afresh,    ///< Their own tables, or what an earlier run left that was cut off.
        goingOn,   ///< What the program that this one replaced has left on them.
        doubtful,  ///< Somebody asks for a restore: what is found is nobody's own.
        looking,   ///< Whatever they hold is only looked at: nothing is read from the file, saved or written.
    };

    /// Reads what an earlier run saved, and saves what is not in it yet. Writes nothing that could be seen: the first
    /// `show` brings each display from what an earlier run left to what is wanted, in one load. Comes first, once.
    /// True if an earlier run's saved tables were there and could be understood.
    virtual bool begin(Beginning how) = 0;

    /// Makes sure that what is saved is there for a program that replaces this one, complete, whoever may have removed
    /// it, and that no fade is under way.
    /// Errors: those of `OriginalGammaStore::saveAgain`: stay.
    [[nodiscard]] virtual Result<void> prepareHandOver() = 0;

    /// How a display got its own table back.
    enum class Source { saved, profile, neutral };
    struct Restored {
        DisplayDescription display;
        Source source = Source::neutral;
        Result<void> outcome;
    };
    /// Gives every display its own table, whatever it holds, and tells of each; those without a table are told by their
    /// `problem` and left alone. After `begin(doubtful)`.
    /// Errors: `Disconnected`.
    [[nodiscard]] virtual Result<std::vector<Restored>> restoreAll() = 0;
};

}  // namespace dravo
