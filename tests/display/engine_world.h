#pragma once

#include <algorithm>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "display/gamma_applicator.h"
#include "display/original_gamma_store.h"
#include "display/remembered_displays.h"
#include "support/memory/memory_services.h"
#include "support/memory/memory_table_device.h"
#include "support/memory/virtual_desk.h"
#include "support/memory/virtual_scheduler.h"
#include "support/temporary_folder.h"

namespace dravo::testing {

/// A neutral table with its channels scaled.
inline GammaTable scaled(float red, float green, float blue) {
    GammaTable table = GammaTable::identity();
    for (float& level : table.red) level *= red;
    for (float& level : table.green) level *= green;
    for (float& level : table.blue) level *= blue;
    return table;
}

inline const GammaTable kDark = scaled(0.6F, 0.3F, 0.1F);
inline const GammaTable kDarker = scaled(0.3F, 0.1F, 0.05F);

/// The table a display starts with: near neutral, unlike every other's.
inline RampLevels ownLevels(std::size_t size, int salt) {
    RampLevels levels = toLevels(scaled(1.0F, 0.97F, 0.95F), size);
    for (std::size_t i = 0; i < size; ++i) levels.green[i] = static_cast<std::uint16_t>(levels.green[i] / 99U * 98U);
    levels.blue[size / 2] = static_cast<std::uint16_t>(levels.blue[size / 2] + static_cast<unsigned>(salt));
    return levels;
}

inline bool isNowhereBrighter(const RampLevels& levels, const RampLevels& than) {
    const auto below = [](const auto& a, const auto& b) { return std::ranges::equal(a, b, std::less_equal{}); };
    return below(levels.red, than.red) && below(levels.green, than.green) && below(levels.blue, than.blue);
}

/// The engine as one run of the program has it.
struct EngineRun {
    EngineRun(memory::VirtualDesk& onDesk, memory::MemoryWakeSource& wakeSource, memory::VirtualScheduler& scheduler,
              const DataFolder& folder)
        : desk(onDesk),
          device(desk),
          store(folder),
          displays(device, store, scheduler),
          applicator(std::in_place, displays, wakeSource, scheduler) {}

    /// The order of a launch: crash check and save, then what is wanted.
    bool launch(const std::optional<GammaTable>& filter,
                LastingDisplays::Beginning how = LastingDisplays::Beginning::afresh) {
        const bool restored = displays.begin(how);
        filter ? applicator->apply(*filter, Fade::none) : applicator->reset(Fade::none);
        return restored;
    }
    bool quit() {
        if (!applicator->shutDown()) return false;
        store.clear();
        return true;
    }
    /// Ends the run as a kill does: nothing that the parts' ends would still do reaches the displays.
    void cutOff() {
        desk.refusesWriting = true;
        applicator.reset();
        desk.refusesWriting = false;
    }

    memory::VirtualDesk& desk;
    memory::MemoryTableDevice device;
    OriginalGammaStore store;
    RememberedDisplays displays;
    std::optional<GammaApplicator> applicator;
};

/// A machine with displays, and one run on it.
struct EngineWorld {
    explicit EngineWorld(std::vector<std::size_t> tableSizes = {256}) {
        for (const std::size_t size : tableSizes) {
            const CrtcId crtc = desk.addCrtc(size);
            desk.foreignWrite(crtc, ownLevels(size, static_cast<int>(crtcs.size())));
            desk.plug(connector(crtcs.size()), crtc);
            crtcs.push_back(crtc);
        }
        start();
    }
    static std::string connector(std::size_t index) { return "DP-" + std::to_string(index + 1); }

    EngineRun& start() {
        run.emplace(desk, wakeSource, scheduler, folder);
        return *run;
    }
    EngineRun& crashAndStart() {
        run->cutOff();
        return start();
    }
    /// With the filter off: for tests of what comes after the launch.
    GammaApplicator& launched() {
        run->launch(std::nullopt);
        desk.log.clear();
        return *run->applicator;
    }
    [[nodiscard]] bool showsOwn(std::size_t index) const {
        return desk.shown(crtcs[index]) == ownLevels(desk.shown(crtcs[index]).size(), static_cast<int>(index));
    }
    [[nodiscard]] bool shows(const GammaTable& table, std::size_t index = 0) const {
        return desk.shown(crtcs[index]) == toLevels(table, desk.shown(crtcs[index]).size());
    }
    /// Also before the run has begun.
    [[nodiscard]] DisplayId id(std::size_t index) {
        memory::MemoryTableDevice device(desk);
        OriginalGammaStore nothing({});
        RememberedDisplays displays(device, nothing, scheduler);
        displays.begin(LastingDisplays::Beginning::looking);
        const auto list = displays.list().value();
        return std::ranges::find(list, connector(index), &DisplayDescription::name)->id;
    }

    TemporaryFolder home;
    DataFolder folder{home / ".dravo", home / "runtime"};
    memory::VirtualDesk desk;
    memory::MemoryWakeSource wakeSource;
    memory::VirtualScheduler scheduler;
    std::vector<CrtcId> crtcs;
    std::optional<EngineRun> run;
};

}  // namespace dravo::testing
