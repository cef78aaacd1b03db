#pragma once

#include <cstddef>

#include "base/result.h"

namespace dravo::posix {

/// Starts that many threads at once and ends them again: for code of others that takes them for granted.
/// Errors: `Busy` (the system does not grant them).
[[nodiscard]] Result<void> tryThreads(std::size_t count);

}  // namespace dravo::posix
