#include "run/run_desktop.h"

#include <cstdio>
#include <cstdlib>
#include <utility>

#include "base/report.h"
#include "platform/curl/curl_update_feed.h"
#include "platform/dbus/portal_appearance.h"
#include "platform/files/autostart_login_item.h"
#include "platform/files/desktop_settings.h"
#include "run/update_address.h"

namespace dravo {
namespace {

constexpr TextKey kNoPanel = textKey("the running Dravo has no panel");

}  // namespace

RunDesktop::RunDesktop(RunSession& session, RunEngine& engine, Actions actions)
    : session_(session),
      engine_(engine),
      actions_(std::move(actions)),
      hotKeys_(session.session->makeHotKeys(session.loop, session.loop)),
      shortcutManager_(*hotKeys_, *session.preferences, session.loop),
      control_({*engine.filterState, *session.preferences, engine.customPresets, engine.breakTimer,
                engine.locationProvider, session.session->displays(), engine.grayscale, session.loop, engine.calendar,
                [this] { return showPanel(); }, actions_.quit, actions_.restore,
                [this](Examination::Told onDone) { return examine(std::move(onDone)); }}),
      controlService_(engine.sessionBus, session.loop),
      appearance_(std::make_unique<dbus::PortalAppearance>(engine.sessionBus, session.loop)),
      systemSettings_(std::make_unique<files::DesktopSettings>(session.loop, session.loop)),
      loginItems_(
          std::make_unique<files::AutostartLoginItem>(files::AutostartPlace::ofThisProcess(session.folder.settings))),
      launchAtLogin_(std::make_unique<LaunchAtLogin>(*loginItems_)),
      updateFeed_(std::make_unique<curl::CurlUpdateFeed>(session.loop, session.loop, "Dravo/" DRAVO_VERSION)),
      updater_(std::make_unique<Updater>(*updateFeed_, session.loop, DRAVO_VERSION, updateAddress())) {
    shortcutManager_.onToggle = [this] { engine_.filterState->toggle(); };
    shortcutManager_.registerIfEnabled();
    controlService_.serve(control_);
    session.loop.post([this] { engine_.breakNotifier.refreshStatus(); });
}

void RunDesktop::carryOut(const ControlRequest& request) {
    const auto done = control_.carryOut(request);
    if (!done) report(done.error().message);
}

void RunDesktop::startPanel(const std::function<void(const std::string& why)>& onFailure) {
    auto& loop = session_.loop;
    auto panel = PanelRun::create({loop,
                                   {*engine_.filterState,
                                    *session_.preferences,
                                    engine_.customPresets,
                                    engine_.breakTimer,
                                    engine_.breakNotifier,
                                    engine_.locationProvider,
                                    engine_.applicator,
                                    engine_.grayscale,
                                    session_.session->displays(),
                                    control_,
                                    shortcutManager_,
                                    *launchAtLogin_,
                                    loop,
                                    engine_.calendar,
                                    *appearance_,
                                    *systemSettings_,
                                    *updater_,
                                    actions_.relaunch,
                                    actions_.quit,
                                    [this](Examination::Told onDone) { return examine(std::move(onDone)); }},
                                   actions_.onServerLoss,
                                   onFailure});
    if (panel) {
        panel_ = std::move(*panel);
    } else {
        reportOnce("no-desktop", Sentence(textKey("there is no panel: %@"), {panel.error().message}));
    }
}

int RunDesktop::run(RunKind kind) { return panel_ ? panel_->run(kind) : session_.loop.run(); }

Result<void> RunDesktop::showPanel() {
    if (!panel_) return Error{ErrorCode::Unsupported, kNoPanel};
    panel_->show();
    return {};
}

Finding RunDesktop::panelFinding() const {
    Finding finding = PanelRun::probe();
    if (panel_ || !finding.works()) return finding;
    return {{}, Sentence{kNoPanel}, Sentence{textKey("Quit it, and start Dravo without --headless")}, "dravo quit"};
}

Subscription RunDesktop::examine(Examination::Told onDone) {
    auto& desk = *session_.session;
    if (!examination_) {
        const DesktopExamination::Ports ports{
            shortcutManager_,         *appearance_,        *engine_.notifications,
            *engine_.locationService, *engine_.wakeSource, *loginItems_,
            controlService_,          *updater_,           [this] { return panelFinding(); }};
        examination_ = std::make_unique<DesktopExamination>([&desk] { return desk.report(); }, ports, desk,
                                                            engine_.sessionBus, session_.loop);
    }
    return examination_->examination().run(std::move(onDone));
}

}  // namespace dravo
