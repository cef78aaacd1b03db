#pragma once

#include <string_view>

#include "base/sentence.h"

namespace dravo {

/// Writes one line, "dravo: " and `sentence`, to standard error: what a person should know. Never a dialog, never more
/// than a line. Thread: any.
void report(const Sentence& sentence);

/// The same once per `cause` and run: nobody is bothered with it twice. Thread: main thread.
void reportOnce(std::string_view cause, const Sentence& sentence);

}  // namespace dravo
