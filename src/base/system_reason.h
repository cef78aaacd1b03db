#pragma once

#include <string>
#include <string_view>

#include "base/result.h"

namespace dravo {

/// Why the system refused, by its error number: in the interface's language where we have words for it, else in the C
/// library's English. Thread: any.
[[nodiscard]] std::string systemReason(int number);

/// What the caller does about that error number: `NotFound` (it, or a folder on its way, is not there),
/// `PermissionDenied` (also a read-only file system), `Busy` (something has that name), else `Internal`.
[[nodiscard]] ErrorCode errorCodeOf(int number);

/// "what: why" (see `withDetail`), with that code and number.
[[nodiscard]] Error systemError(std::string_view what, int number);

}  // namespace dravo
