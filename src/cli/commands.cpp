#include "cli/commands.h"

#include <algorithm>
#include <string>
#include <vector>

#include "cli/text.h"

namespace dravo::cli {

std::span<const Command* const> commands() {
    static constexpr const Command* kRows[] = {
        &kStatusCommand, &kToggleCommand,    &kOnCommand,       &kOffCommand,      &kPauseCommand,    &kResumeCommand,
        &kPresetCommand, &kSetCommand,       &kScheduleCommand, &kLocationCommand, &kBreakCommand,    &kPanelCommand,
        &kQuitCommand,   &kPresetsCommand,   &kTableCommand,    &kPreviewCommand,  &kDisplaysCommand, &kRestoreCommand,
        &kSunCommand,    &kMelanopicCommand, &kImportCommand,   &kExportCommand,   &kHelpCommand,
    };
    return kRows;
}

const Command* findCommand(std::string_view name) {
    const auto rows = commands();
    const auto row = std::ranges::find_if(rows, [&](const Command* command) { return command->name == name; });
    return row == rows.end() ? nullptr : *row;
}

std::string unknownCommand(std::string_view name) {
    std::vector<std::string_view> names;
    for (const Command* const command : commands()) names.emplace_back(command->name);
    const std::string_view meant = nearest(name, names);
    const std::string unknown = filled(localized("unknown command %@"), {quoted(name)});
    return meant.empty() ? unknown : withGuess(unknown, meant);
}

}  // namespace dravo::cli
