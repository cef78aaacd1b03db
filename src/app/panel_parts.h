#pragma once

#include <functional>

#include "app/appearance_service.h"
#include "app/control.h"
#include "app/examination.h"
#include "app/keyboard_shortcut_manager.h"
#include "app/launch_at_login.h"
#include "app/system_settings.h"
#include "app/updater.h"
#include "base/calendar.h"
#include "base/scheduler.h"
#include "breaks/break_notifier.h"
#include "breaks/break_timer.h"
#include "controller/filter_state.h"
#include "display/displays.h"
#include "display/gamma_applicator.h"
#include "display/grayscale_switch.h"
#include "filter/custom_preset_store.h"
#include "filter/preferences_store.h"
#include "schedule/location_provider.h"

namespace dravo {

/// What the panel shows and acts on; all of it outlives the panel.
struct PanelParts {
    FilterState& filterState;
    PreferencesStore& preferences;
    CustomPresetStore& customPresetStore;
    BreakTimer& breakTimer;
    BreakNotifier& breakNotifier;
    LocationProvider& locationProvider;
    GammaApplicator& applicator;
    GrayscaleSwitch& grayscale;
    Displays& displays;
    ControlTarget& control;  ///< For presets that come and go as files.
    KeyboardShortcutManager& shortcutManager;
    LaunchAtLogin& launchAtLogin;
    Scheduler& scheduler;
    Calendar& calendar;
    AppearanceService& appearance;
    SystemSettings& systemSettings;
    Updater& updater;                ///< Its state is what a card shows; views start a check through `UpdaterBridge`.
    std::function<void()> relaunch;  ///< Starts the program again in its place; the displays keep what they show.
    std::function<void()> quit;      ///< Gives the displays back, then ends the program.
    std::function<Subscription(Examination::Told)> examine;  ///< As `Examination::run`.
};

}  // namespace dravo
