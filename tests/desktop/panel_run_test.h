#pragma once

#include <optional>

#include "desktop/filter_run_test.h"
#include "support/private_bus.h"
#include "support/screen_reader.h"
#include "support/tray_host.h"
#include "support/x_hands.h"

namespace dravo::testing {

/// The program with its tray icon and panel on a desktop of the test's own: a window manager, a session bus with the
/// accessibility services, a tray where the test wants one, and a person's hands. The person has dismissed the welcome.
class PanelRunTest : public FilterRunTest {
protected:
    PanelRunTest();

    void preferSeen(const std::string& more = {}) { prefer(kStrong, true, "hasSeenOnboarding = true\n" + more); }

    /// REQUIRES: no tray of the other kind is there.
    void startTray(TrayHost::Kind kind) { tray_.emplace(kind, session()); }
    void stopTray() { tray_.reset(); }

    /// The program, once it filters and its panel is open. Needs no tray.
    [[nodiscard]] Run startWithPanel(const std::filesystem::path& program = programUnderTest());
    /// The program, once it filters and its icon is in the tray.
    [[nodiscard]] Run startWithIcon(std::vector<std::string> arguments = {});

    [[nodiscard]] std::optional<Place> iconPlace() { return tray_->iconPlace(windows_); }
    [[nodiscard]] std::optional<Box> panel();
    /// What there is to see, for a test's complaint.
    [[nodiscard]] std::string scene();
    /// The icon's menu, ours or the host's.
    [[nodiscard]] std::optional<Box> menu();

    void clickIcon(Button button = Button::left);
    /// Clicks the icon until the panel is open: a host that has just started loses clicks.
    bool openFromNewIcon();
    /// Clicks the entry of this place, of so many, in the menu that is about to open.
    void clickEntry(int entry, int count);
    /// Opens the panel by a command; false if the program is not there yet, or keys do not go to it soon.
    bool openPanel();
    /// Clicks the middle of the panel's control of this name.
    void click(const std::string& name);
    void press(std::uint8_t keycode) { hands_.press({keycode}); }
    void pressShortcut() { hands_.press({key::kControl, key::kShift, key::kE}); }

    bool soonHears(const std::string& name, const std::string& role = {}) {
        return soon([&] { return reader_.find(name, role).has_value(); });
    }
    bool isOpen() { return panel() && windows_.focusedProgram() == "dravo"; }
    /// Open, and keys go to it.
    bool soonIsOpen() {
        return soon([&] { return isOpen(); });
    }
    bool soonIsClosed() {
        return soon([&] { return !panel(); });
    }
    /// For as long as a host that is not busy takes to pass on a click.
    bool staysClosed(std::chrono::milliseconds time = 400ms) {
        return !waitUntil([&] { return panel().has_value(); }, time);
    }
    bool staysOpen() {
        return !waitUntil([&] { return !panel(); }, 400ms);
    }

    static constexpr Place kOutside{700, 400};
    static constexpr Box kFirstScreen{0, 0, 1024, 768};

    PrivateBus bus_;
    XWindows windows_{server().address()};
    XHands hands_{server().address()};

private:
    /// What the desktop's own programs have in their environment.
    Environment sessionOfDesktop();

    TestHome sessionHome_;
    Environment desktop_ = sessionOfDesktop();
    ChildProcess manager_{"/usr/bin/openbox", {.environment = desktop_}};
    AccessibilityBus accessibility_{desktop_};
    std::optional<TrayHost> tray_;

protected:
    ScreenReader reader_{accessibility_.address()};
};

}  // namespace dravo::testing
