#pragma once

#include <optional>
#include <string>
#include <vector>

#include "cli/command.h"
#include "display/held_display.h"

namespace dravo::cli {

/// What the displays hold now.
struct DisplayList {
    std::string backend;  ///< As `Displays::backend`.
    std::vector<HeldDisplay> displays;
};

/// Reads it from the display server; where that would take the displays from whoever has them, asks the running Dravo.
/// What goes wrong is written to standard error; then `code` says how to end and the list is empty.
struct DisplayListOutcome {
    std::optional<DisplayList> list;
    ExitCode code = ExitCode::Ok;
};
[[nodiscard]] DisplayListOutcome listDisplays(const Call& call);

/// "256 entries".
[[nodiscard]] std::string entriesText(std::size_t count);

/// Says on standard error what a display server answered, and which exit code that is.
ExitCode failForDisplays(const Call& call, const Error& error);

}  // namespace dravo::cli
