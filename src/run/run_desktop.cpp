#include "run/run_desktop.h"

#include <cstdio>
#include <cstdlib>
#include <utility>

#include "base/report.h"
#include "platform/curl/curl_update_feed.h"
#include "platform/dbus/portal_appearance.h"
#include "platform/files/autostart_login_item.h"
#include "platform/files/desktop_settings.h"

namespace dravo {

RunDesktop::RunDesktop(RunSession& session, RunEngine& engine, Actions actions)
    : session_(session),
      engine_(engine),
      actions_(std::move(actions)),
      hotKeys_(session.session->makeHotKeys(session.loop, session.loop, engine.sessionBus)),
      shortcutManager_(*hotKeys_, *session.preferences, session.loop),
      control_({*engine.filterState, *session.preferences, engine.customPresets, engine.breakTimer,
                engine.locationProvider, session.session->displays(), engine.grayscale, session.loop, engine.calendar,
                [this] { return showPanel(); }, actions_.quit, actions_.restore}),
      controlService_(engine.sessionBus, session.loop) {
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
    appearance_ = std::make_unique<dbus::PortalAppearance>(engine_.sessionBus, loop);
    systemSettings_ = std::make_unique<files::DesktopSettings>(loop, loop);
    loginItems_ =
        std::make_unique<files::AutostartLoginItem>(files::AutostartPlace::ofThisProcess(session_.folder.settings));
    launchAtLogin_ = std::make_unique<LaunchAtLogin>(*loginItems_);
    updateFeed_ = std::make_unique<curl::CurlUpdateFeed>(loop, loop, "Dravo/" DRAVO_VERSION);
    const char* const feed = std::getenv("DRAVO_UPDATE_FEED");
    updater_ = std::make_unique<Updater>(
        *updateFeed_, loop, DRAVO_VERSION,
        feedAddress(DRAVO_UPDATE_FEED, feed ? std::optional<std::string>(feed) : std::nullopt));
    auto panel = PanelRun::create(
        {loop,
         {*engine_.filterState, *session_.preferences, engine_.customPresets, engine_.breakTimer, engine_.breakNotifier,
          engine_.locationProvider, engine_.applicator, engine_.grayscale, session_.session->displays(), control_,
          shortcutManager_, *launchAtLogin_, loop, engine_.calendar, *appearance_, *systemSettings_, *updater_,
          actions_.relaunch, actions_.quit},
         actions_.onServerLoss,
         onFailure,
         session_.isWayland});
    if (panel) {
        panel_ = std::move(*panel);
    } else {
        reportOnce("no-desktop", Sentence(textKey("there is no panel: %@"), {panel.error().message}));
    }
}

int RunDesktop::run(RunKind kind) { return panel_ ? panel_->run(kind) : session_.loop.run(); }

Result<void> RunDesktop::showPanel() {
    if (!panel_ || isToolkitLost_) return Error{ErrorCode::Unsupported, textKey("the running Dravo has no panel")};
    panel_->show();
    return {};
}

}  // namespace dravo
