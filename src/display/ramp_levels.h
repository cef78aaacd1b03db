#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "display/gamma_table.h"

namespace dravo {

/// A transfer table as hardware and display servers hold it: 16-bit levels, 65535 is full drive. The three channels
/// have equal lengths.
struct RampLevels {
    std::vector<std::uint16_t> red;
    std::vector<std::uint16_t> green;
    std::vector<std::uint16_t> blue;

    [[nodiscard]] std::size_t size() const { return red.size(); }
    bool operator==(const RampLevels&) const = default;
};

/// The table as `size` hardware levels: resampled if its length differs, each level rounded to the nearest k / 65535.
/// Levels outside 0..1 are clamped, NaN is 0. Empty when either side has fewer than 2 entries.
[[nodiscard]] RampLevels toLevels(const GammaTable& table, std::size_t size);

/// The levels as a table of the same length. `toLevels(toTable(l), l.size()) == l`, bit for bit.
[[nodiscard]] GammaTable toTable(const RampLevels& levels);

/// Whether a table can be loaded: at least 2 entries, equal channels.
[[nodiscard]] bool isLoadable(const GammaTable& table);

}  // namespace dravo
