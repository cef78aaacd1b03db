#pragma once

#include <functional>

namespace dravo {

/// An environment variable's value; null if it is unset.
using Environment = std::function<const char*(const char* name)>;

}  // namespace dravo
