#include "display/held_display.h"

namespace dravo {

std::optional<Rgb> HeldDisplay::white() const {
    if (table.size() == 0) return std::nullopt;
    return Rgb{table.red.back(), table.green.back(), table.blue.back()};
}

Result<std::vector<HeldDisplay>> heldDisplays(Displays& displays) {
    const auto descriptions = displays.list();
    if (!descriptions) return descriptions.error();
    std::vector<HeldDisplay> held;
    std::vector<DisplayId> readable;
    for (const DisplayDescription& description : *descriptions) {
        held.push_back({description, {}});
        if (description.problem.empty()) readable.push_back(description.id);
    }
    auto tables = displays.held(readable);
    auto table = tables.begin();
    for (HeldDisplay& display : held) {
        if (!display.description.problem.empty() || table == tables.end()) continue;
        const Result<GammaTable>& read = *table++;
        if (!read && read.error().code == ErrorCode::Disconnected) return read.error();
        if (read) display.table = *read;
        if (!read) display.description.problem = Sentence{textKey("it cannot be read")};
    }
    return held;
}

}  // namespace dravo
