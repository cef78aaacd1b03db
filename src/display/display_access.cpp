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

Result<std::vector<DisplayId>, DisplayGammaError> onlineDisplayIDs(DisplayServer& server) {
    auto displays = server.onlineDisplays(kMaxDisplays);
    if (!displays) return DisplayGammaError{DisplayGammaError::Case::getOnlineDisplayListFailed, displays.error().code};
    return std::move(*displays);
}

Result<GammaTable, DisplayGammaError> readTransfer(DisplayServer& server, DisplayId display) {
    const auto tables = server.readTables(std::array{display});
    if (!tables.front())
        return DisplayGammaError{DisplayGammaError::Case::getTransferFailed, tables.front().error().code};
    const GammaTable& table = *tables.front();
    return table.size() > kEngineEntries ? resample(table, kEngineEntries) : table;
}

}  // namespace dravo
