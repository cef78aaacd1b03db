#pragma once

#include <string>
#include <vector>

#include "display/display_server.h"

namespace dravo {

/// A line for each display that is on and cannot be filtered: its name and why. Empty when all can, or nobody answers.
[[nodiscard]] std::vector<std::string> displayProblems(DisplayServer& displays);

}  // namespace dravo
