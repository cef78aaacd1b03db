#pragma once

#include <filesystem>
#include <vector>

#include "base/probe.h"

namespace dravo::posix {

/// A finding for each kind of program of this user's that is known to load tables into displays and runs now, with the
/// way to stop it. `processes` is where the system shows its processes.
[[nodiscard]] std::vector<Finding> findNeighbours(const std::filesystem::path& processes = "/proc");

}  // namespace dravo::posix
