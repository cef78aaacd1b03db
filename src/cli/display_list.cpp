#include "cli/display_list.h"

#include "cli/command_line.h"

namespace dravo::cli {

std::string_view stateName(const DisplayRow& row) { return row.description.problem.empty() ? "ready" : "unsupported"; }

std::string stateText(const DisplayRow& row) {
    return row.description.problem.empty() ? localized("display.ready", "ready")
                                           : localized("display.unsupported", "unsupported");
}

std::string entriesText(std::size_t count) {
    return filled(localizedCount("display.entries", "%lld entry", "%lld entries", count), {std::to_string(count)});
}

Result<DisplayList> listDisplays(DisplayServer& server) {
    const auto descriptions = server.describeDisplays();
    if (!descriptions) return descriptions.error();
    DisplayList list{server.backend(), {}};
    std::vector<DisplayId> readable;
    for (const DisplayDescription& description : *descriptions) {
        list.rows.push_back({description, {}, {}});
        if (description.problem.empty()) readable.push_back(description.id);
    }
    auto tables = server.readTables(readable);
    auto table = tables.begin();
    for (DisplayRow& row : list.rows) {
        if (!row.description.problem.empty() || table == tables.end()) continue;
        const Result<GammaTable>& read = *table++;
        if (!read) {
            if (read.error().code == ErrorCode::Disconnected) return read.error();
            row.description.problem = read.error().message;
            continue;
        }
        row.table = *read;
        if (row.table.size() > 0) {
            row.white = Rgb{row.table.red.back(), row.table.green.back(), row.table.blue.back()};
        }
    }
    return list;
}

ExitCode failForDisplays(CommandContext& context, const Command& command, const Error& error) {
    const bool refused = error.code == ErrorCode::PermissionDenied || error.code == ErrorCode::Busy ||
                         error.code == ErrorCode::Unsupported;
    return fail(context, command, refused ? ExitCode::Refused : ExitCode::NoDisplayServer, localized(error.message));
}

}  // namespace dravo::cli
