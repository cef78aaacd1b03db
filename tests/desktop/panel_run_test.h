#pragma once

#include <optional>

#include "desktop/filter_run_test.h"
#include "support/private_bus.h"
#include "support/screen_reader.h"
#include "support/tray_host.h"
#include "support/x_keyboard.h"
#include "support/x_pointer.h"
#include "support/x_windows.h"

namespace dravo::testing {

/// The program with its tray icon and panel on a desktop of the test's own: a window manager, a session bus with the
/// accessibility services, a tray where the test wants one, and a person's hands.
class PanelRunTest : public FilterRunTest {
protected:
    using Button = XPointer::Button;

    void SetUp() override;

    /// Stored settings with the filter on, of somebody who has dismissed the welcome.
    void preferSeen(const std::string& more = {}) {
        home().writePreferences(
            "filterEnabled = true\nlastPresetID = \"fl41\"\nlastIntensity = 0.9\n"
            "hasSeenOnboarding = true\n" +
            more);
    }

    /// `REQUIRES`: no tray of the other kind is there.
    void startTray(TrayHost::Kind kind) { tray_.emplace(kind, session()); }
    void stopTray() { tray_.reset(); }

    /// For programs that are started from now on.
    void setVariable(const std::string& name, const std::string& value) { variables_[name] = value; }
    /// What a program needs in its environment to be part of this session.
    [[nodiscard]] std::map<std::string, std::string> session() {
        auto environment = onServer();
        environment["DBUS_SESSION_BUS_ADDRESS"] = bus_->address();
        environment["QT_LINUX_ACCESSIBILITY_ALWAYS_ON"] = "1";
        for (const auto& [name, value] : variables_) environment[name] = value;
        return environment;
    }
    [[nodiscard]] Run startProgram(std::vector<std::string> arguments = {},
                                   const std::filesystem::path& program = programUnderTest()) {
        return std::make_unique<ProcessUnderTest>(home(), std::move(arguments), session(), std::filesystem::path(),
                                                  program);
    }
    /// The program, once it filters and its panel is open. Needs no tray.
    [[nodiscard]] Run startWithPanel(const std::filesystem::path& program = programUnderTest());
    /// The program, once it filters and its icon is in the tray.
    [[nodiscard]] Run startWithIcon(std::vector<std::string> arguments = {});
    /// Runs a command to its end; what it printed on both outputs.
    std::string command(std::vector<std::string> words, int code = 0);

    [[nodiscard]] std::optional<Place> iconPlace() { return tray_->iconPlace(*windows_); }
    [[nodiscard]] std::optional<XWindows::Window> panel();
    [[nodiscard]] bool isPanelOpen() { return panel().has_value(); }
    /// What there is to see, for a test's complaint.
    [[nodiscard]] std::string scene();
    /// The icon's menu, ours or the host's.
    [[nodiscard]] std::optional<XWindows::Window> menu();

    void clickIcon(Button button = Button::left);
    /// Clicks the icon until the panel is open: a host that has just started loses clicks.
    bool openFromNewIcon();
    /// Clicks the entry of this place, of so many, in the menu that is about to open.
    void clickEntry(int entry, int count);
    /// Opens the panel by a command; false if the program is not there yet, or keys do not go to it soon.
    bool openPanel();
    /// Clicks the middle of the panel's control of this name.
    void click(const std::string& name);
    void press(std::uint8_t keycode) { keyboard_->press({keycode}); }
    void pressShortcut() { keyboard_->press({key::kControl, key::kShift, key::kE}); }

    bool soon(const std::function<bool()>& condition) { return waitUntil(condition); }
    /// Open, and keys go to it.
    bool soonIsOpen() {
        return soon([&] { return isPanelOpen() && windows_->focusedProgram() == "dravo"; });
    }
    bool soonIsClosed() {
        return soon([&] { return !isPanelOpen(); });
    }
    /// For as long as a host that is not busy takes to pass on a click.
    bool staysClosed() {
        return !waitUntil([&] { return isPanelOpen(); }, std::chrono::milliseconds{400});
    }
    bool staysOpen() {
        return !waitUntil([&] { return !isPanelOpen(); }, std::chrono::milliseconds{400});
    }
    bool soonFiltered() {
        return soon([&] { return allShow(filtered(kStrong)); });
    }
    bool soonShowTheirOwn() {
        return soon([&] { return tables() == ownTables(); });
    }

    [[nodiscard]] XWindows& windows() { return *windows_; }
    [[nodiscard]] XPointer& pointer() { return *pointer_; }
    [[nodiscard]] XKeyboard& keyboard() { return *keyboard_; }
    [[nodiscard]] ScreenReader& reader() { return *reader_; }
    [[nodiscard]] PrivateBus& bus() { return *bus_; }

    static constexpr Place kOutside{700, 400};
    static constexpr Box kFirstScreen{0, 0, 1024, 768};

private:
    TemporaryFolder sessionHome_;
    std::map<std::string, std::string> variables_;
    std::optional<PrivateBus> bus_;
    std::optional<AccessibilityBus> accessibility_;
    std::optional<ChildProcess> manager_;
    std::optional<TrayHost> tray_;
    std::optional<XWindows> windows_;
    std::optional<XPointer> pointer_;
    std::optional<XKeyboard> keyboard_;
    std::optional<ScreenReader> reader_;
};

}  // namespace dravo::testing
