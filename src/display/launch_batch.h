#pragma once

#include <map>
#include <utility>

#include "display/display_server.h"

namespace dravo {

/// A display server in front of the real one that holds back what a launch loads: a crash's restore and the first
/// filtered table become one load, so nobody sees what lies between them.
///
/// From construction until `commit()`, loads are kept for each display, the last one counting, and reads return what
/// is kept. Everything else passes straight through, and after `commit()` everything does. A batch that is destroyed
/// uncommitted has loaded nothing.
///
/// Thread: main thread. Lifetime: the real server outlives it; it may be used in the server's place for the whole run.
class LaunchBatch final : public DisplayServer {
public:
    explicit LaunchBatch(DisplayServer& server) : server_(server) {}

    /// Loads what was kept, all displays at once, and ends the batch. Errors as for `loadTables`.
    std::vector<Result<void>> commit();

    std::string backend() const override { return server_.backend(); }
    Result<std::vector<DisplayId>> onlineDisplays(std::size_t capacity) override {
        return server_.onlineDisplays(capacity);
    }
    Result<std::vector<DisplayDescription>> describeDisplays() override { return server_.describeDisplays(); }
    std::vector<Result<GammaTable>> readTables(std::span<const DisplayId> displays) override;

    /// While keeping, errors of the hardware show only at the commit.
    std::vector<Result<void>> loadTables(std::span<const DisplayTable> tables) override;
    void keepTables(std::span<const DisplayTable> tables) override;

    /// Also drops what was kept.
    Result<void> restoreCalibration() override;

    Result<GammaTable> ownTable(DisplayId display) override { return server_.ownTable(display); }
    void declareOwnTables(const std::map<DisplayId, GammaTable>& tables) override { server_.declareOwnTables(tables); }
    void distrustFoundTables() override { server_.distrustFoundTables(); }
    Subscription onDisplayChange(std::function<void()> callback) override {
        return server_.onDisplayChange(std::move(callback));
    }
    Subscription onLoss(std::function<void()> callback) override { return server_.onLoss(std::move(callback)); }
    void forgetContents() override { server_.forgetContents(); }

private:
    DisplayServer& server_;
    bool isKeeping_ = true;
    std::map<DisplayId, GammaTable> kept_;
};

}  // namespace dravo
