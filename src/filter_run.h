#pragma once

#include <cstdlib>
#include <memory>
#include <optional>

#include "app/filter_control.h"
#include "app/hand_over.h"
#include "app/interface_locale.h"
#include "app/keyboard_shortcut_manager.h"
#include "app/launch_at_login.h"
#include "app/updater.h"
#include "base/data_folder.h"
#include "breaks/break_notifier.h"
#include "breaks/break_timer.h"
#include "cli/exit_code.h"
#include "controller/filter_state.h"
#include "desktop_run.h"
#include "display/gamma_applicator.h"
#include "display/grayscale_switch.h"
#include "display/original_gamma_store.h"
#include "filter/custom_preset_store.h"
#include "filter/preferences_store.h"
#include "platform/curl/curl_update_feed.h"
#include "platform/dbus/bus.h"
#include "platform/dbus/bus_control_service.h"
#include "platform/dbus/desktop_notifications.h"
#include "platform/dbus/geoclue_location_service.h"
#include "platform/dbus/logind_wake_source.h"
#include "platform/dbus/portal_appearance.h"
#include "platform/files/autostart_login_item.h"
#include "platform/files/desktop_settings.h"
#include "platform/files/toml_user_defaults.h"
#include "platform/gettext/catalogue_localizer.h"
#include "platform/posix/background_sync.h"
#include "platform/posix/end_interceptor.h"
#include "platform/posix/instance_lock.h"
#include "platform/posix/replace_program.h"
#include "platform/posix/sd_event_loop.h"
#include "platform/posix/signal_watch.h"
#include "platform/posix/system_calendar.h"
#include "platform/posix/termination_guard.h"
#include "platform/posix/zone_position.h"
#include "session/session.h"

namespace dravo {

/// What a run answers in its lock to SIGUSR1, once the server has confirmed that the displays have their tables back.
/// Any other answer says why they have not.
inline constexpr const char* kIsOff = "off";

/// The run that filters the screen, put together from everything. Part of the composition root.
///
/// Up to the first table nothing waits for a disk, a bus or a toolkit: services connect from the loop.
/// REQUIRES: `TerminationGuard::blockSignals` came first in `main`.
class FilterRun {
public:
    /// Runs until somebody ends it, and begins with `first`. A second start ends at once; a person's opens the first
    /// one's panel.
    cli::ExitCode run(RunKind kind, const std::optional<ControlRequest>& first = {});

private:
    [[nodiscard]] static std::optional<HandOver> inheritance();
    bool takeLock(RunKind kind);
    void giveWay(RunKind kind, int holder);
    bool connect();
    bool launch();
    cli::ExitCode giveUp(const Error& why);
    void listen();
    void carryOut(const ControlRequest& request);
    void startDesktop();
    Result<void> showPanel();
    Result<void> restore();
    void giveBack();
    void quit();
    [[nodiscard]] posix::ProgramReplacement makeSuccessor(bool hasPanel) const;
    int startSuccessor(posix::ProgramReplacement& successor);
    void relaunch();
    void serverIsGone();

    // In the order of building: what is declared later uses what stands above.
    DataFolder folder_ = DataFolder::ofThisUser();
    std::optional<HandOver> inherited_ = inheritance();  ///< From the program that this one replaced.
    std::optional<posix::InstanceLock> lock_;
    posix::SdEventLoop loop_;
    OriginalGammaStore originalGamma_{folder_};
    std::unique_ptr<Session> session_ = Session::choose(Session::Guarding::byLastWord, std::getenv);
    std::unique_ptr<posix::TerminationGuard> guard_;
    posix::BackgroundSync backgroundSync_;
    files::TomlUserDefaults defaults_{files::TomlUserDefaults::pathIn(folder_.settings), loop_, loop_};
    PreferencesStore preferences_{defaults_};
    gettext::CatalogueLocalizer texts_{
        gettext::CatalogueLocalizer::programFolder(),
        [choice = AppLanguage::current(preferences_)] { return interfaceLocaleFor(choice, std::getenv); }};
    InstalledLocalizer installedTexts_{texts_};
    posix::SystemCalendar calendar_{&loop_};
    dbus::Bus sessionBus_{loop_, loop_, dbus::Bus::Kind::session};
    dbus::Bus systemBus_{loop_, loop_, dbus::Bus::Kind::system};
    dbus::LogindWakeSource wakeSource_{systemBus_, loop_, loop_};
    dbus::GeoclueLocationService locationService_{systemBus_, loop_, "dravo"};
    dbus::DesktopNotifications notifications_{sessionBus_, loop_, loop_};
    posix::ZoneTablePosition zones_;
    CustomPresetStore customPresets_{folder_.home};
    dbus::PortalAppearance appearance_{sessionBus_, loop_};
    files::DesktopSettings systemSettings_{loop_, loop_};
    BreakNotifier breakNotifier_{notifications_};
    BreakTimer breakTimer_{preferences_, breakNotifier_, loop_};
    std::unique_ptr<HotKeyService> hotKeys_ = session_->makeHotKeys(loop_, loop_);
    files::AutostartLoginItem loginItems_{files::AutostartPlace::ofThisProcess(folder_.settings)};
    KeyboardShortcutManager shortcutManager_{*hotKeys_, preferences_, loop_};
    LaunchAtLogin launchAtLogin_{loginItems_};
    LocationProvider locationProvider_{loop_, preferences_, locationService_, zones_, calendar_};

    // Built once the displays are open.
    std::optional<GrayscaleSwitch> grayscale_;
    std::optional<GammaApplicator> applicator_;
    std::optional<FilterState> filterState_;
    std::optional<FilterControl> control_;
    std::optional<dbus::BusControlService> controlService_;
    std::optional<curl::CurlUpdateFeed> updateFeed_;
    std::optional<Updater> updater_;
    std::unique_ptr<DesktopRun> desktop_;
    std::optional<posix::SignalWatch> offRequest_;
    std::optional<posix::SignalWatch> quitRequest_;
    Subscription loss_;
    bool isServerGone_ = false;
    cli::ExitCode failure_ = cli::ExitCode::Ok;
};

}  // namespace dravo
