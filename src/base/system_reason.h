#pragma once

#include "base/result.h"

namespace dravo {

/// Why the system refused, by its error number: a text to translate where we have one, else the C library's English.
/// Thread: any.
[[nodiscard]] Sentence systemReason(int number);

/// What the caller does about that error number: `NotFound` (it, or a folder on its way, is not there),
/// `PermissionDenied` (also a read-only file system), `Busy` (something has that name), else `Internal`.
[[nodiscard]] ErrorCode errorCodeOf(int number);

/// "what: why" (see `withDetail`), with that code and number.
[[nodiscard]] Error systemError(const Sentence& what, int number);

}  // namespace dravo
