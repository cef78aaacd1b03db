#pragma once

#include <string_view>

namespace dravo {

/// Writes one line, "dravo: " and `sentence`, to standard error, once per `cause` and run: what a person should know
/// and nobody may be bothered with twice. Never a dialog, never more than a line.
///
/// Thread: main thread.
void reportOnce(std::string_view cause, std::string_view sentence);

}  // namespace dravo
