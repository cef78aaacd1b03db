#pragma once

#include <span>
#include <string>
#include <string_view>

#include "cli/command.h"

namespace dravo::cli {

/// Those that ask the running Dravo.
[[nodiscard]] std::span<const Command> controlCommands();

extern const Command kPresetsCommand;
extern const Command kTableCommand;
extern const Command kPreviewCommand;
extern const Command kDisplaysCommand;
extern const Command kDoctorCommand;
extern const Command kRestoreCommand;
extern const Command kSunCommand;
extern const Command kMelanopicCommand;
extern const Command kImportCommand;
extern const Command kExportCommand;
extern const Command kHelpCommand;

/// The command table, in the order of the help. Help and completion are made from it.
[[nodiscard]] std::span<const Command* const> commands();

/// The row with that name, or null.
[[nodiscard]] const Command* findCommand(std::string_view name);

/// "unknown command 'x'", with the name that was probably meant.
[[nodiscard]] Sentence unknownCommand(std::string_view name);

/// The program's help (how to start it, the commands, the exit codes) and one command's.
[[nodiscard]] std::string programHelp();
[[nodiscard]] std::string commandHelp(const Command& command);

/// What shell completion offers for the last of `words`, which stand after the program's name up to the cursor: a line
/// for each, with the word, a tab and what it means, or ":files" where files may stand. Only the meanings are
/// translated.
[[nodiscard]] std::string completions(std::span<const char* const> words, CommandContext& context);

}  // namespace dravo::cli
