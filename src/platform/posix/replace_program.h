#pragma once

#include <string>
#include <vector>

#include "base/result.h"

namespace dravo::posix {

/// A fresh start of this program in its own process, with the same command line and the variable `name` set to `value`;
/// made ready first, so that `start` can be called in any state of the process.
///
/// It takes the program that stands where this one was started from, which a package may have renewed since. Where
/// every processor is busy, the kernel takes up to a minute to let go of a file watch, and nothing else happens in the
/// process meanwhile. So watches are inherited, and the new program has to let go of them.
class ProgramReplacement {
public:
    /// `descriptor` is inherited, unless it is -1.
    ProgramReplacement(const char* name, const std::string& value, int descriptor);
    ProgramReplacement(const ProgramReplacement&) = delete;
    ProgramReplacement& operator=(const ProgramReplacement&) = delete;

    /// Replaces the program. Does not return if that works: no destructor runs and no exit handler, other threads stop,
    /// descriptors that are not inherited close, and blocked signals stay blocked. Also for a signal handler.
    /// Returns the system's error number; everything is as it was.
    [[nodiscard]] int start();
    /// The error for that number.
    [[nodiscard]] Error failure(int number) const;

private:
    void setInherited(bool isInherited) const;

    std::string path_;
    std::vector<std::string> words_;
    std::vector<std::string> variables_;
    std::vector<int> descriptors_;
    std::vector<char*> arguments_;
    std::vector<char*> environment_;
};

/// Closes what watches files in this process, on a thread of its own. Comes before the program watches any.
void letGoOfFileWatches();

}  // namespace dravo::posix
