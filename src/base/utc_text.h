#pragma once

#include <string>

#include "base/scheduler.h"

namespace dravo {

/// An instant in UTC for machines, to the second: "2026-11-22T18:30:00Z".
[[nodiscard]] std::string utcText(WallTime instant);

}  // namespace dravo
