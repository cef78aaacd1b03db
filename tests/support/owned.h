#pragma once

#include <cstdlib>
#include <memory>

namespace dravo::testing {

struct Free {
    void operator()(void* memory) const { std::free(memory); }
};

/// What a C library hands out for the caller to free, like the answers of an X server.
template <typename T>
using Owned = std::unique_ptr<T, Free>;

}  // namespace dravo::testing
