#pragma once

#include <cstdio>
#include <cstdlib>

namespace dravo::testing {

/// Ends a fuzzer's run with its input kept, unless `condition` holds.
inline void require(bool condition, const char* what) {
    if (condition) return;
    std::fprintf(stderr, "not so: %s\n", what);
    std::abort();
}

}  // namespace dravo::testing
