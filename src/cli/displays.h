#pragma once

#include <optional>
#include <string>
#include <vector>

#include "cli/command.h"
#include "display/displays.h"

namespace dravo::cli {

/// One display and the table it holds.
struct DisplayRow {
    DisplayDescription description;
    GammaTable table;          ///< Empty when it has none or could not be read.
    std::optional<Rgb> white;  ///< The table's last entry.
};

/// Every display that is on, with what it holds now, read in one go. A display that cannot be read is listed with the
/// reason as its problem.
/// Errors: `Disconnected`.
[[nodiscard]] Result<std::vector<DisplayRow>> listDisplays(Displays& displays);

/// "256 entries".
[[nodiscard]] std::string entriesText(std::size_t count);

/// Says on standard error what a display server answered, and which exit code that is.
ExitCode failForDisplays(const Call& call, const Error& error);

}  // namespace dravo::cli
