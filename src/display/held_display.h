#pragma once

#include <optional>
#include <vector>

#include "display/displays.h"
#include "filter/rgb.h"

namespace dravo {

/// A display and the table that it holds.
struct HeldDisplay {
    DisplayDescription description;
    GammaTable table;  ///< Empty when it has none, or it could not be read.

    /// The table's last entry.
    [[nodiscard]] std::optional<Rgb> white() const;
    bool operator==(const HeldDisplay&) const = default;
};

/// Every display that is on, with what it holds now, read in one go. One that cannot be read has that as its problem.
/// Errors: `Disconnected`.
[[nodiscard]] Result<std::vector<HeldDisplay>> heldDisplays(Displays& displays);

}  // namespace dravo
