#pragma once

#include <filesystem>

#include "base/result.h"

namespace dravo::posix {

/// The file that this program was started from, also if another one was put in its place since; empty: not known.
[[nodiscard]] std::filesystem::path programFile();

/// Loads a module of the program, from beside the executable or from where modules are installed, and finds `entry` in
/// it. A module brings libraries that most runs have no use for. It is never unloaded.
///
/// Errors: `NotFound` (no such module, or one that does not load), `Unsupported` (it has no such entry).
[[nodiscard]] Result<void*> findInModule(const char* file, const char* entry);

}  // namespace dravo::posix
