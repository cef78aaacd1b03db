#pragma once

#include <cstdlib>
#include <memory>

namespace dravo {

/// Gives something back to the C library that handed it out, by the library's own function.
template <auto& giveBack>
struct GiveBack {
    void operator()(auto* held) const { giveBack(held); }
};

/// What a C library handed out, given back by its function `giveBack` with the handle's end.
template <typename T, auto& giveBack>
using Owned = std::unique_ptr<T, GiveBack<giveBack>>;

/// Memory of a C library that its caller frees, as the answers of an X server are.
template <typename T>
using Freed = Owned<T, std::free>;

}  // namespace dravo
