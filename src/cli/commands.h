#pragma once

#include <span>
#include <string_view>

#include "cli/command.h"

namespace dravo::cli {

extern const Command kStatusCommand;
extern const Command kToggleCommand;
extern const Command kOnCommand;
extern const Command kOffCommand;
extern const Command kPauseCommand;
extern const Command kResumeCommand;
extern const Command kPresetCommand;
extern const Command kSetCommand;
extern const Command kScheduleCommand;
extern const Command kLocationCommand;
extern const Command kBreakCommand;
extern const Command kPanelCommand;
extern const Command kQuitCommand;
extern const Command kPresetsCommand;
extern const Command kTableCommand;
extern const Command kDisplaysCommand;
extern const Command kPreviewCommand;
extern const Command kRestoreCommand;
extern const Command kSunCommand;
extern const Command kMelanopicCommand;
extern const Command kImportCommand;
extern const Command kExportCommand;
extern const Command kHelpCommand;

/// The command table, in the order of the help.
[[nodiscard]] std::span<const Command* const> commands();

/// The row with that name, or null.
[[nodiscard]] const Command* findCommand(std::string_view name);

/// "unknown command 'x'", with the name that was probably meant.
[[nodiscard]] std::string unknownCommand(std::string_view name);

}  // namespace dravo::cli
