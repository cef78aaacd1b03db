#include "app/app_delegate.h"

#include <chrono>
#include <utility>

#include "app/display_problems.h"
#include "app/updater_bridge.h"
#include "base/localized.h"

namespace dravo {

namespace {

using namespace std::chrono_literals;

constexpr auto kWelcomeDelay = 500ms;
constexpr auto kTrayPatience = 5s;
constexpr auto kMenuPause = 1h;

}  // namespace

AppDelegate::AppDelegate(AppDelegateParts parts) : parts_(std::move(parts)) {}

AppDelegate::~AppDelegate() { UpdaterBridge::shared().checkForUpdates = nullptr; }

void AppDelegate::finishLaunching(RunKind kind) {
    UpdaterBridge::shared().checkForUpdates = [this] { checkForUpdates(); };
    parts_.statusItem.setSymbol(StatusItem::Symbol::eyeCircle);
    parts_.statusItem.setMenu([this] { return contextMenu(); });
    subscriptions_.push_back(parts_.statusItem.onClick([this](StatusItem::Button button) { onClick(button); }));
    subscriptions_.push_back(parts_.filterState.isEnabled.onNewValue([this](bool) { markStale(); }));
    subscriptions_.push_back(parts_.filterState.pausedUntil.onNewValue([this](const auto&) { markStale(); }));
    subscriptions_.push_back(parts_.displays.onListChange([this] { markStale(); }));
    updateStatusIcon();

    if (!parts_.preferences.hasSeenOnboarding()) {
        welcome_ = parts_.scheduler.after(kWelcomeDelay, [this] { showPopover(); });
    } else if (kind == RunKind::byPerson) {
        trayWait_ = parts_.scheduler.after(kTrayPatience, [this] {
            if (!parts_.statusItem.isShown()) showPopover();
        });
    }
}

void AppDelegate::onClick(StatusItem::Button button) {
    if (button == StatusItem::Button::middle) {
        parts_.filterState.toggle();
    } else if (!parts_.popover.wasJustClosed()) {
        togglePopover();
    }
}

void AppDelegate::togglePopover() {
    if (parts_.popover.isShown()) {
        parts_.popover.dismiss();
    } else {
        showPopover();
    }
}

void AppDelegate::showPopover() {
    if (!parts_.popover.isShown()) parts_.filterState.refreshState();
    parts_.popover.present();
}

void AppDelegate::checkForUpdates() {
    showPopover();
    parts_.checkForUpdates();
}

std::vector<MenuEntry> AppDelegate::contextMenu() {
    std::vector<MenuEntry> menu;
    menu.push_back({localized("Toggle Filter"), [this] { parts_.filterState.toggle(); }});
    if (parts_.filterState.isEnabled) {
        menu.push_back(
            {localized("Pause for 1 Hour"), [this] { parts_.filterState.pause(parts_.scheduler.now() + kMenuPause); }});
    }
    menu.push_back({});
    menu.push_back({localized("Check for Updates…"), [this] { checkForUpdates(); }});
    menu.push_back({});
    menu.push_back({localized("Quit Dravo"), parts_.quit, 'q'});
    return menu;
}

// Two properties change in one turn, and each assignment is announced.
void AppDelegate::markStale() {
    if (!iconUpdate_.isPending()) iconUpdate_ = parts_.scheduler.after(0s, [this] { updateStatusIcon(); });
}

void AppDelegate::updateStatusIcon() {
    using Symbol = StatusItem::Symbol;
    const bool isPaused = parts_.filterState.pausedUntil.get().has_value();
    const bool isEnabled = parts_.filterState.isEnabled;
    const Symbol symbol = isPaused ? Symbol::eyeSlashCircle : isEnabled ? Symbol::eyeCircleFill : Symbol::eyeCircle;
    parts_.statusItem.setSymbol(symbol);
    std::string toolTip = stateText();
    for (const auto& line : displayProblems(parts_.displays)) toolTip += '\n' + line;
    parts_.statusItem.setToolTip(toolTip);
}

std::string AppDelegate::stateText() const {
    if (const auto& end = parts_.filterState.pausedUntil.get()) {
        return filled(localized("tray.paused_until", "Paused until %@"), {parts_.shortTime(*end)});
    }
    return parts_.filterState.isEnabled ? localized("tray.on", "Filter on") : localized("tray.off", "Filter off");
}

}  // namespace dravo
