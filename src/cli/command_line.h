#pragma once

#include <optional>

#include "app/run_kind.h"
#include "cli/command_context.h"
#include "cli/exit_code.h"

namespace dravo::cli {

/// The kind of run that the command line asks for; none if it names a command.
[[nodiscard]] std::optional<RunKind> asksToFilter(int argc, char** argv);

/// Runs the command that the command line names. Output and errors go to the context's streams and are complete when
/// this returns. REQUIRES: not `asksToFilter(argc, argv)`.
[[nodiscard]] ExitCode runCommandLine(int argc, char** argv, CommandContext& context);

}  // namespace dravo::cli
