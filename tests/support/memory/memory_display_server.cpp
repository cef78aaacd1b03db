#include "support/memory/memory_display_server.h"

#include <algorithm>
#include <set>
#include <utility>

namespace dravo::memory {
namespace {

Error disconnected() { return {ErrorCode::Disconnected, "the virtual display server has ended"}; }

}  // namespace

MemoryDisplayServer::MemoryDisplayServer(VirtualDesk& desk)
    : desk_(desk),
      deskChanges_(desk.onChange([this] { changed(); })),
      deskShutDown_(desk.onShutDown([this] { losses_.deliver(); })) {
    rescan();
}

Result<std::vector<DisplayId>> MemoryDisplayServer::onlineDisplays(std::size_t capacity) {
    if (!desk_.isUp() || desk_.failsListing) return disconnected();
    std::vector<DisplayId> ids;
    for (const auto& display : displays_)
        if (sizeOf(display) >= 2 && ids.size() < capacity) ids.push_back(display.id);
    return ids;
}

Result<std::vector<DisplayDescription>> MemoryDisplayServer::describeDisplays() {
    if (!desk_.isUp() || desk_.failsListing) return disconnected();
    std::vector<DisplayDescription> descriptions;
    for (const auto& display : displays_) {
        const std::size_t size = sizeOf(display);
        descriptions.push_back({display.id, display.connector, size,
                                size < 2 ? display.connector + " has no transfer table and cannot be filtered." : ""});
    }
    return descriptions;
}

std::vector<Result<GammaTable>> MemoryDisplayServer::readTables(std::span<const DisplayId> displays) {
    std::vector<Result<GammaTable>> tables;
    for (const DisplayId id : displays) {
        const auto display = find(id);
        if (!display) {
            tables.emplace_back(display.error());
        } else if (desk_.failsReading) {
            tables.emplace_back(disconnected());
        } else {
            tables.emplace_back(toTable(desk_.held((*display)->crtc)));
        }
    }
    return tables;
}

std::vector<Result<void>> MemoryDisplayServer::loadTables(std::span<const DisplayTable> tables) {
    std::vector<Result<void>> results;
    for (const auto& table : tables) results.push_back(load(table));
    return results;
}

void MemoryDisplayServer::keepTables(std::span<const DisplayTable> tables) { static_cast<void>(loadTables(tables)); }

Result<void> MemoryDisplayServer::restoreCalibration() {
    if (!desk_.isUp()) return disconnected();
    if (calibrate(ledger_.beginRestore())) return {};
    return Error{ErrorCode::PermissionDenied, "the virtual display server refused the table"};
}

Result<GammaTable> MemoryDisplayServer::ownTable(DisplayId display) {
    if (auto own = ledger_.own(display)) return std::move(*own);
    const auto found = find(display);
    return found ? Error{ErrorCode::NotFound, "the display was never seen"} : found.error();
}

void MemoryDisplayServer::declareOwnTables(const std::map<DisplayId, GammaTable>& tables) {
    std::vector<DisplayId> ids;
    for (const auto& [id, table] : tables) ids.push_back(id);
    identities_.know(ids);
    ledger_.declareOwnTables(tables);
    rescan();
}

void MemoryDisplayServer::changed() {
    rescan();
    ledger_.forgetContents();
    changes_.deliver();
    if (desk_.isUp()) static_cast<void>(calibrate(ledger_.owedCalibrations()));
}

void MemoryDisplayServer::rescan() {
    std::map<CrtcId, std::vector<std::string>> connectors;
    for (const auto& [connector, output] : desk_.outputs())
        if (output.crtc) connectors[*output.crtc].push_back(connector);
    std::vector<OutputIdentity> outputs;
    displays_.clear();
    for (const auto& [crtc, names] : connectors) {
        const std::string& connector = names[representativeOutput(names)];
        outputs.push_back({connector, desk_.outputs().at(connector).edid});
        displays_.push_back({DisplayId{}, connector, crtc});
    }
    const auto ids = identities_.assign(outputs);
    for (const auto& [crtc, state] : desk_.crtcs())
        if (!connectors.contains(crtc)) ledger_.left(crtc);
    for (std::size_t i = 0; i < displays_.size(); ++i) {
        Display& display = displays_[i];
        display.id = ids[i];
        if (sizeOf(display) < 2) continue;
        ledger_.setProfile(display.id, desk_.outputs().at(display.connector).vcgt);
        if (!ledger_.isShowing(display.crtc, display.id))
            ledger_.appeared(display.id, display.crtc, desk_.held(display.crtc));
    }
}

Result<void> MemoryDisplayServer::load(const DisplayTable& load) {
    const auto display = find(load.display);
    if (!display) return display.error();
    if (!isLoadable(load.table)) return Error{ErrorCode::InvalidInput, "the table has too few or unequal entries"};
    const CrtcId crtc = (*display)->crtc;
    if (ledger_.needsFirstLook(load.display)) ledger_.firstLook(load.display, desk_.held(crtc));
    const RampLevels levels = toLevels(load.table, sizeOf(**display));
    ledger_.loading(crtc, levels);
    if (ledger_.holds(crtc, levels) && desk_.held(crtc) == levels) return {};
    if (!desk_.write(crtc, levels)) return Error{ErrorCode::PermissionDenied, "the server refused the table"};
    ledger_.wrote(crtc, levels);
    return {};
}

Result<const MemoryDisplayServer::Display*> MemoryDisplayServer::find(DisplayId display) const {
    if (!desk_.isUp()) return disconnected();
    const auto found = std::ranges::find(displays_, display, &Display::id);
    if (found == displays_.end()) return Error{ErrorCode::NotFound, "the display is not on"};
    if (sizeOf(*found) < 2) return Error{ErrorCode::Unsupported, found->connector + " has no transfer table"};
    return &*found;
}

bool MemoryDisplayServer::calibrate(const std::vector<CrtcLevels>& calibrations) {
    bool complete = true;
    for (const auto& [crtc, levels] : calibrations) {
        if (desk_.write(crtc, levels)) {
            ledger_.wrote(crtc, levels);
            ledger_.restored(crtc);
        } else {
            complete = false;
        }
    }
    return complete;
}

}  // namespace dravo::memory
