#pragma once

#include <functional>
#include <vector>

#include "app/control.h"
#include "base/calendar.h"
#include "base/observable.h"
#include "base/scheduler.h"
#include "breaks/break_timer.h"
#include "controller/filter_state.h"
#include "display/displays.h"
#include "display/grayscale_switch.h"
#include "filter/custom_preset_store.h"
#include "filter/preferences_store.h"
#include "schedule/location_provider.h"

namespace dravo {

/// What control from outside works on; all of it outlives the control.
struct FilterControlParts {
    FilterState& filterState;
    PreferencesStore& preferences;
    CustomPresetStore& customPresetStore;
    BreakTimer& breakTimer;
    LocationProvider& locationProvider;
    Displays& displays;
    const GrayscaleSwitch& grayscale;
    Scheduler& scheduler;
    const Calendar& calendar;
    std::function<Result<void>()> activate;                  ///< As `request::Activate`.
    std::function<void()> quit;                              ///< Ends the program; called in a turn of its own.
    std::function<Result<void>()> restore;                   ///< As `request::Restore`.
    std::function<Subscription(Examination::Told)> examine;  ///< As `Examination::run`.
};

/// The filter as control from outside sees it: the controller's operations under the rules that hold for callers who do
/// not see the panel.
///
/// Thread: main thread.
class FilterControl : public ControlTarget {
public:
    explicit FilterControl(FilterControlParts parts);

    ControlState controlState() const override;
    Subscription onStateChange(std::function<void()> callback) override;

    Result<ControlAnswer> carryOut(const ControlRequest& request) override;
    Subscription examine(Examination::Told onDone) override;

private:
    void somethingChanges();

    FilterControlParts parts_;
    SubscriberList<> changed_;
    Timer pendingDelivery_;
    std::vector<Subscription> subscriptions_;
};

/// The next 08:00 local time that lies more than an hour after `now`: where a pause "until morning" ends.
[[nodiscard]] WallTime nextMorning(WallTime now, const Calendar& calendar);

}  // namespace dravo
