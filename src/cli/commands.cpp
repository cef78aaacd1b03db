#include "cli/commands.h"

#include <algorithm>
#include <vector>

#include "cli/text.h"

namespace dravo::cli {

namespace {

std::vector<const Command*> allCommands() {
    std::vector<const Command*> rows;
    for (const Command& row : controlCommands()) rows.push_back(&row);
    for (const Command* const row :
         {&kPresetsCommand, &kTableCommand, &kPreviewCommand, &kDisplaysCommand, &kDoctorCommand, &kRestoreCommand,
          &kSunCommand, &kMelanopicCommand, &kImportCommand, &kExportCommand, &kHelpCommand})
        rows.push_back(row);
    return rows;
}

}  // namespace

std::span<const Command* const> commands() {
    static const std::vector<const Command*> rows = allCommands();
    return rows;
}

const Command* findCommand(std::string_view name) {
    const auto rows = commands();
    const auto row = std::ranges::find(rows, name, [](const Command* each) { return std::string_view(each->name); });
    return row == rows.end() ? nullptr : *row;
}

Sentence unknownCommand(std::string_view name) {
    std::vector<std::string_view> names;
    for (const Command* const command : commands()) names.emplace_back(command->name);
    const std::string_view meant = nearest(name, names);
    const Sentence unknown = Sentence(textKey("unknown command %@"), {quoted(name)});
    return meant.empty() ? unknown : withGuess(unknown, meant);
}

}  // namespace dravo::cli
