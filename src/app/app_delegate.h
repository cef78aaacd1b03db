#pragma once

#include <functional>
#include <string>
#include <vector>

#include "app/popover.h"
#include "app/run_kind.h"
#include "app/status_item.h"
#include "base/scheduler.h"
#include "controller/filter_state.h"
#include "display/displays.h"
#include "filter/preferences_store.h"

namespace dravo {

/// What the delegate works with; all of it outlives the delegate.
struct AppDelegateParts {
    FilterState& filterState;
    PreferencesStore& preferences;
    Displays& displays;
    StatusItem& statusItem;
    Popover& popover;
    Scheduler& scheduler;
    std::function<std::string(WallTime)> shortTime;  ///< The time of day as the person's locale writes it.
    std::function<void()> checkForUpdates;           ///< Starts a check; what comes of it is the panel's to show.
    std::function<void()> quit;
};

/// The program on a desktop: its tray icon, the icon's menu, and when the panel opens and closes.
///
/// Thread: main thread.
class AppDelegate {
public:
    explicit AppDelegate(AppDelegateParts parts);
    AppDelegate(const AppDelegate&) = delete;
    AppDelegate& operator=(const AppDelegate&) = delete;
    ~AppDelegate();

    /// Puts the icon up and opens the panel where nobody would find it otherwise: half a second after the start until
    /// the welcome has been dismissed, and when a person started the program on a desktop that shows no tray in time.
    void finishLaunching(RunKind kind);

    /// The panel closes if it is open; else it opens on a state that is looked at anew.
    void togglePopover();
    /// The panel is open afterwards: what a second start means.
    void showPopover();

    /// Starts a check whose result the panel shows, so the panel is open afterwards.
    void checkForUpdates();

    [[nodiscard]] std::vector<MenuEntry> contextMenu();

private:
    void onClick(StatusItem::Button button);
    void markStale();
    void updateStatusIcon();
    [[nodiscard]] std::string stateText() const;

    AppDelegateParts parts_;
    Timer iconUpdate_;
    Timer welcome_;
    Timer trayWait_;
    std::vector<Subscription> subscriptions_;
};

}  // namespace dravo
