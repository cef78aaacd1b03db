#include "display/display_access.h"

#include <array>
#include <string_view>
#include <utility>

namespace dravo {
namespace {

constexpr std::size_t kEngineEntries = 256;

std::string_view prefixOf(DisplayGammaError::Case failed) {
    switch (failed) {
        case DisplayGammaError::Case::getOnlineDisplayListFailed:
            return "CGGetOnlineDisplayList failed: ";
        case DisplayGammaError::Case::getTransferFailed:
            return "CGGetDisplayTransferByTable failed: ";
        case DisplayGammaError::Case::setTransferFailed:
            return "CGSetDisplayTransferByTable failed: ";
    }
    return {};
}

std::string_view nameOf(ErrorCode code) {
    switch (code) {
        case ErrorCode::Unsupported:
            return "Unsupported";
        case ErrorCode::Busy:
            return "Busy";
        case ErrorCode::Disconnected:
            return "Disconnected";
        case ErrorCode::PermissionDenied:
            return "PermissionDenied";
        case ErrorCode::InvalidInput:
            return "InvalidInput";
        case ErrorCode::NotFound:
            return "NotFound";
        case ErrorCode::Internal:
            return "Internal";
    }
    return {};
}

}  // namespace

std::string DisplayGammaError::description() const { return std::string(prefixOf(failed)).append(nameOf(code)); }

Result<std::vector<DisplayId>, DisplayGammaError> onlineDisplayIDs(Displays& displays) {
    const auto list = displays.list();
    if (!list) return DisplayGammaError{DisplayGammaError::Case::getOnlineDisplayListFailed, list.error().code};
    std::vector<DisplayId> ids;
    for (const auto& display : *list)
        if (display.state != DisplayState::noTable && ids.size() < kMaxDisplays) ids.push_back(display.id);
    return ids;
}

Result<GammaTable, DisplayGammaError> readTransfer(Displays& displays, DisplayId display) {
    const auto tables = displays.held(std::array{display});
    if (!tables.front())
        return DisplayGammaError{DisplayGammaError::Case::getTransferFailed, tables.front().error().code};
    const GammaTable& table = *tables.front();
    return table.size() > kEngineEntries ? resample(table, kEngineEntries) : table;
}

}  // namespace dravo
