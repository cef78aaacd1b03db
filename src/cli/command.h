#pragma once

#include <span>

#include "base/localized.h"
#include "cli/exit_code.h"

namespace dravo::cli {

class Arguments;
struct CommandContext;

/// One option of a command: a flag, or one that takes a text or a number within a range.
struct Option {
    enum class Kind { Flag, Text, Number };

    const char* name = "";       ///< Without the dashes.
    const char* valueName = "";  ///< What the help calls its value; empty for a flag.
    TextKey help = {};
    Kind kind = Kind::Flag;
    double least = 0;  ///< Smallest number accepted.
    double most = 0;   ///< Greatest number accepted.
};

/// The option of every command that prints data.
inline constexpr Option kJsonOption{"json", "", textKey("Print JSON for programs")};

/// One row of the command table: all that parsing, help and shell completion know about a command.
struct Command {
    const char* name = "";
    TextKey summary = {};                      ///< One line for the list of commands.
    std::span<const char* const> usages = {};  ///< Operands and options after the name, one line for each form.
    TextKey description = {};                  ///< A paragraph for its help; may be empty.
    std::span<const Option> options = {};      ///< Besides --help, which every command has.
    std::size_t leastOperands = 0;
    std::size_t mostOperands = 0;
    /// Runs it. Operand count and number ranges are already checked.
    ExitCode (*run)(const Arguments& arguments, CommandContext& context) = nullptr;
};

}  // namespace dravo::cli
