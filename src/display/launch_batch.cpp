#include "display/launch_batch.h"

#include <algorithm>
#include <limits>
#include <utility>

#include "display/ramp_levels.h"

namespace dravo {

std::vector<Result<void>> LaunchBatch::commit() {
    isKeeping_ = false;
    std::vector<DisplayTable> tables;
    for (auto& [display, table] : kept_) tables.push_back({display, std::move(table)});
    kept_.clear();
    return tables.empty() ? std::vector<Result<void>>{} : server_.loadTables(tables);
}

std::vector<Result<GammaTable>> LaunchBatch::readTables(std::span<const DisplayId> displays) {
    auto tables = server_.readTables(displays);
    for (std::size_t i = 0; i < displays.size(); ++i)
        if (const auto kept = kept_.find(displays[i]); kept != kept_.end() && tables[i]) tables[i] = kept->second;
    return tables;
}

std::vector<Result<void>> LaunchBatch::loadTables(std::span<const DisplayTable> tables) {
    if (!isKeeping_) return server_.loadTables(tables);
    const auto online = server_.onlineDisplays(std::numeric_limits<std::size_t>::max());
    std::vector<Result<void>> results;
    for (const auto& [display, table] : tables) {
        if (!online) {
            results.emplace_back(online.error());
        } else if (!isLoadable(table)) {
            results.emplace_back(Error{ErrorCode::InvalidInput, "the table has too few entries or unequal channels"});
        } else if (std::ranges::find(*online, display) == online->end()) {
            results.emplace_back(Error{ErrorCode::NotFound, "the display is not on"});
        } else {
            kept_.insert_or_assign(display, table);
            results.emplace_back();
        }
    }
    return results;
}

void LaunchBatch::keepTables(std::span<const DisplayTable> tables) {
    if (isKeeping_) {
        static_cast<void>(loadTables(tables));
    } else {
        server_.keepTables(tables);
    }
}

Result<void> LaunchBatch::restoreCalibration() {
    kept_.clear();
    return server_.restoreCalibration();
}

}  // namespace dravo
