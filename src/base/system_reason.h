#pragma once

#include <string>

namespace dravo {

/// Why the system refused, by its error number: in the interface's language where we have words for it, else in the C
/// library's English. Thread: any.
[[nodiscard]] std::string systemReason(int number);

}  // namespace dravo
