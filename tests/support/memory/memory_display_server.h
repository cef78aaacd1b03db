#pragma once

#include <map>
#include <optional>
#include <string>
#include <vector>

#include "base/observable.h"
#include "display/display_identity.h"
#include "display/display_server.h"
#include "display/table_ledger.h"
#include "support/memory/virtual_desk.h"

namespace dravo::memory {

/// A DisplayServer on a VirtualDesk: one client's connection to it.
///
/// Lifetime: the desk outlives it.
class MemoryDisplayServer final : public DisplayServer {
public:
    explicit MemoryDisplayServer(VirtualDesk& desk);

    std::string backend() const override { return "memory"; }
    Result<std::vector<DisplayId>> onlineDisplays(std::size_t capacity) override;
    Result<std::vector<DisplayDescription>> describeDisplays() override;
    std::vector<Result<GammaTable>> readTables(std::span<const DisplayId> displays) override;
    std::vector<Result<void>> loadTables(std::span<const DisplayTable> tables) override;
    void keepTables(std::span<const DisplayTable> tables) override;
    Result<void> restoreCalibration() override;
    Result<GammaTable> ownTable(DisplayId display) override;
    void declareOwnTables(const std::map<DisplayId, GammaTable>& tables) override;
    void distrustFoundTables() override { ledger_.distrustFoundTables(); }
    Subscription onDisplayChange(std::function<void()> callback) override { return changes_.add(std::move(callback)); }
    Subscription onLoss(std::function<void()> callback) override { return losses_.add(std::move(callback)); }
    void forgetContents() override { ledger_.forgetContents(); }

private:
    struct Display {
        DisplayId id{};
        std::string connector;
        CrtcId crtc{};
    };

    void rescan();
    void changed();
    [[nodiscard]] Result<void> load(const DisplayTable& load);
    [[nodiscard]] Result<const Display*> find(DisplayId display) const;
    [[nodiscard]] std::size_t sizeOf(const Display& display) const { return desk_.held(display.crtc).size(); }
    [[nodiscard]] bool calibrate(const std::vector<CrtcLevels>& calibrations);

    VirtualDesk& desk_;
    DisplayIdentities identities_;
    TableLedger ledger_;
    std::vector<Display> displays_;
    SubscriberList<> changes_;
    SubscriberList<> losses_;
    Subscription deskChanges_;
    Subscription deskShutDown_;
};

}  // namespace dravo::memory
