#pragma once

#include <optional>
#include <string>
#include <vector>

#include "cli/command_context.h"
#include "cli/exit_code.h"
#include "display/display_server.h"

namespace dravo::cli {

struct Command;

/// One display and the table it holds.
struct DisplayRow {
    DisplayDescription description;
    GammaTable table;          ///< Empty when it has none or could not be read.
    std::optional<Rgb> white;  ///< The table's last entry.
};

struct DisplayList {
    std::string backend;
    std::vector<DisplayRow> rows;
};

/// "ready" or "unsupported": for programs, and in the language of people.
[[nodiscard]] std::string_view stateName(const DisplayRow& row);
[[nodiscard]] std::string stateText(const DisplayRow& row);

/// "256 entries".
[[nodiscard]] std::string entriesText(std::size_t count);

/// Every display that is on, with what it holds now, read in one go. A display that cannot be read is listed with the
/// reason as its problem.
/// Errors: `Disconnected`.
[[nodiscard]] Result<DisplayList> listDisplays(DisplayServer& server);

/// Says on standard error what a display server answered, and which exit code that is.
[[nodiscard]] ExitCode failForDisplays(CommandContext& context, const Command& command, const Error& error);

}  // namespace dravo::cli
