#pragma once

#include <string>

#include "cli/command.h"

namespace dravo::cli {

/// The program's help: how to start it, the commands, the exit codes. Made from the command table.
[[nodiscard]] std::string programHelp();

/// One command's help, made from its row.
[[nodiscard]] std::string commandHelp(const Command& command);

}  // namespace dravo::cli
