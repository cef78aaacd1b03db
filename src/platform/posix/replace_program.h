#pragma once

#include <string>

#include "base/result.h"

namespace dravo::posix {

/// Replaces this program by a fresh start of itself in the same process, with the same command line and the variable
/// `name` set to `value`. Does not return if that works: no destructor runs and no exit handler, other threads stop,
/// descriptors that are not inherited close, and blocked signals stay blocked. Takes the program that stands where
/// this one was started from, which a package may have renewed since.
/// Errors: `NotFound`, `PermissionDenied`, `Internal`; everything is as it was.
///
/// Where every processor is busy, the kernel takes up to a minute to let go of a file watch, and nothing else happens
/// in the process meanwhile. So watches are inherited, and the new program has to let go of them.
[[nodiscard]] Error replaceProgram(const char* name, const std::string& value);

/// Closes what watches files in this process, on a thread of its own. Comes before the program watches any.
void letGoOfFileWatches();

}  // namespace dravo::posix
