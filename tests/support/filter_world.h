#pragma once

#include <map>
#include <optional>
#include <utility>
#include <vector>

#include "controller/filter_state.h"
#include "display/gamma_applicator.h"
#include "display/ramp_levels.h"
#include "display/remembered_displays.h"
#include "support/memory/memory_services.h"
#include "support/memory/memory_table_device.h"
#include "support/memory/memory_user_defaults.h"
#include "support/memory/virtual_scheduler.h"
#include "support/temporary_folder.h"
#include "support/zone_calendar.h"

namespace dravo::testing {

/// The controller on a machine in memory, with two displays. `start` may come after other preparations.
struct FilterWorld {
    explicit FilterWorld(DefaultsValues stored = {}, WallTime at = kNoon) : scheduler(at), defaults(std::move(stored)) {
        for (const char* connector : {"eDP-1", "DP-1"}) {
            crtcs.push_back(desk.addCrtc(256));
            desk.plug(connector, crtcs.back());
        }
    }

    FilterState& start() {
        displays.begin(LastingDisplays::Beginning::afresh);
        state.emplace(parts());
        return *state;
    }
    [[nodiscard]] FilterStateParts parts() {
        return {scheduler,        calendar,   preferences,     customPresets, breakTimer,
                locationProvider, applicator, grayscaleSwitch, wakeSource};
    }

    /// Whether every display shows this table.
    [[nodiscard]] bool shows(const GammaTable& table) const {
        const RampLevels levels = toLevels(table, 256);
        for (const auto crtc : crtcs)
            if (desk.shown(crtc) != levels) return false;
        return true;
    }
    [[nodiscard]] bool showsFilter() const {
        return shows(
            computeTable(state->selectedPreset, state->intensity, state->dimming, state->blackPoint, state->contrast));
    }
    /// With its own adjustments.
    [[nodiscard]] bool showsPreset(const FilterPreset& preset) const {
        return shows(computeTable(preset, preset.intensity, preset.dimming, preset.blackPoint, preset.contrast));
    }
    [[nodiscard]] bool showsOwn() const { return shows(GammaTable::identity()); }

    /// The machine sleeps this long and wakes: hours at the price of a second.
    void sleep(Duration duration) {
        scheduler.sleep(duration - std::chrono::seconds(1));
        wakeSource.wake();
        scheduler.advance(std::chrono::seconds(1));
    }

    /// How many tables the first display was sent since the last call.
    std::size_t loads() {
        std::size_t count = 0;
        for (const auto& write : desk.log) count += write.crtc == crtcs.front() ? 1U : 0U;
        desk.log.clear();
        return count;
    }

    /// 2024-03-06, a Wednesday, 12:00 UTC.
    static constexpr WallTime kNoon{std::chrono::sys_days{std::chrono::year{2024} / 3 / 6} + std::chrono::hours{12}};

    memory::VirtualScheduler scheduler;
    ZoneCalendar calendar;
    memory::MemoryUserDefaults defaults;
    PreferencesStore preferences{defaults};
    memory::VirtualDesk desk;
    std::vector<CrtcId> crtcs;
    memory::MemoryTableDevice device{desk};
    TemporaryFolder folder;
    OriginalGammaStore originalGamma{{folder.path() / ".dravo", folder.path() / "runtime"}};
    RememberedDisplays displays{device, originalGamma, scheduler};
    memory::MemoryWakeSource wakeSource;
    GammaApplicator applicator{displays, wakeSource, scheduler};
    memory::MemoryGrayscale grayscale;
    GrayscaleSwitch grayscaleSwitch{grayscale, originalGamma};
    CustomPresetStore customPresets{folder.path()};
    memory::MemoryNotifications notifications{scheduler};
    BreakNotifier notifier{notifications};
    BreakTimer breakTimer{preferences, notifier, scheduler};
    memory::MemoryLocationService locationService;
    memory::MemoryZonePosition zonePosition;
    LocationProvider locationProvider{scheduler, preferences, locationService, zonePosition, calendar};
    std::optional<FilterState> state;
};

}  // namespace dravo::testing
