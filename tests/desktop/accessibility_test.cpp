#include <netinet/in.h>
#include <sys/socket.h>

#include <algorithm>
#include <cmath>
#include <stdexcept>

#include "base/unique_fd.h"
#include "desktop/panel_run_test.h"

namespace dravo::testing {
namespace {

using Control = ScreenReader::Control;

/// What only holds others together needs no name.
const std::set<std::string> kHolders{"filler",    "panel",      "scroll bar", "scroll pane",
                                     "separator", "popup menu", "viewport"};
const std::set<std::string> kRoles{"alert message", "button menu", "check box",    "frame",  "graphic",  "label",
                                   "menu item",     "push button", "radio button", "slider", "spin box", "text"};

/// What a screen reader could not make sense of; empty where there is nothing.
std::string faultOf(const Control& control, ScreenReader& reader) {
    const std::string which = control.role + " \"" + control.name + "\"";
    const bool isHolder = kHolders.contains(control.role);
    if (!isHolder && !kRoles.contains(control.role)) return which + " has a role that says nothing";
    if (!isHolder && control.name.empty()) return which + " has no name";
    for (const char* symbol : {"⌃", "⌥", "⇧", "⌘", "⇥"}) {
        if (control.name.find(symbol) != std::string::npos) return which + " is read as symbols";
    }
    if (!control.is("focusable")) return {};
    if (isHolder) return which + " takes the keyboard and does nothing";
    if (control.actions.empty() && !control.can("Value") && !control.can("EditableText"))
        return which + " cannot be operated";
    if (control.can("Value")) {
        const auto [least, most] = reader.range(control);
        const double value = reader.value(control);
        if (!(least < most && least <= value && value <= most)) return which + " has no value";
    }
    return {};
}

/// Makes a socket to which programs of this machine can connect, and nothing more; its port.
std::uint16_t listenSomewhere(UniqueFd& socket) {
    socket = UniqueFd(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t size = sizeof(address);
    auto* const plain = reinterpret_cast<sockaddr*>(&address);
    EXPECT_EQ(::bind(socket.get(), plain, size), 0);
    EXPECT_EQ(::listen(socket.get(), 8), 0);
    EXPECT_EQ(::getsockname(socket.get(), plain, &size), 0);
    return ntohs(address.sin_port);
}

/// A control's name without what it shows: "Preset" of "Preset: Evening".
std::string plainName(const std::string& name) { return name.substr(0, name.find(':')); }

/// The panel as it is to somebody who neither sees it nor has a mouse.
class AccessibilityTest : public PanelRunTest {
protected:
    Run open(const std::string& preferences = {}) {
        preferSeen(preferences);
        session()["DRAVO_UPDATE_FEED"] = "https://127.0.0.1:" + std::to_string(listenSomewhere(feed_)) + "/";
        return startWithPanel();
    }

    /// All that can be heard now; every fault in it fails the test.
    std::vector<Control> walk() {
        auto controls = reader_.controls();
        EXPECT_FALSE(controls.empty());
        for (const auto& control : controls) {
            EXPECT_EQ(faultOf(control, reader_), "");
            if (control.is("focusable") && control.is("enabled")) heard_.insert(plainName(control.name));
        }
        return controls;
    }
    /// What can be operated under this name, whatever it shows behind it.
    Control hear(const std::string& name, const std::string& role = {}) {
        std::optional<Control> found;
        const auto isIt = [&](const Control& control) {
            const bool isOperable = !control.actions.empty() || control.can("Value") || control.can("EditableText");
            return isOperable && plainName(control.name) == name && (role.empty() || control.role == role);
        };
        const bool isThere = soon([&] {
            const auto controls = reader_.controls();
            const auto place = std::ranges::find_if(controls, isIt);
            if (place != controls.end()) found = *place;
            return found.has_value();
        });
        if (!isThere) throw std::runtime_error("nobody hears of " + name);
        operated_.insert(name);
        return *found;
    }
    bool soonHearsNoMore(const std::string& name, const std::string& role = {}) {
        return soon([&] { return !reader_.find(name, role); });
    }
    /// Does the first thing that the control says it does.
    void act(const std::string& name, const std::string& role = {}) { reader_.act(hear(name, role)); }
    void choose(const std::string& button, const std::string& entry) {
        act(button);
        act(entry, "menu item");
        EXPECT_TRUE(soonHearsNoMore(entry, "menu item")) << "the menu stays";
    }
    void set(const std::string& slider, double value) {
        reader_.setValue(hear(slider, "slider"), value);
        EXPECT_TRUE(soon([&] { return std::abs(reader_.value(hear(slider, "slider")) - value) < 1e-9; })) << slider;
    }
    void type(const std::string& field, const std::string& text) { reader_.setText(hear(field), text); }
    bool soonStores(const std::string& line) {
        return soon([&] { return contentOf(home().preferences()).find(line) != std::string::npos; });
    }

    /// The path of what has the keyboard; empty where nothing has.
    std::string focused() {
        const auto controls = reader_.controls();
        const auto place = std::ranges::find_if(
            controls, [](const Control& control) { return control.is("focused") && control.role != "frame"; });
        return place == controls.end() ? "" : place->object.path;
    }
    /// Presses the keys and waits until something else has the keyboard.
    std::string nextByKeyboard(const std::vector<std::uint8_t>& keys) {
        const std::string before = focused();
        std::string now;
        hands_.press(keys);
        EXPECT_TRUE(soon([&] { return (now = focused()) != before && !now.empty(); })) << "the keyboard stays";
        return now;
    }

    void operateTheFilter();
    void operateTheAdjustments();
    void operateTheBreaks();
    void operateTheShortcut();
    void operateTheSchedule();
    void operateTheRestOfTheSettings();
    void operateTheEditor();
    void operateTheCards();

    UniqueFd feed_;                   ///< where the program asks for updates
    std::set<std::string> heard_;     ///< the names of all that can be operated
    std::set<std::string> operated_;  ///< and of what has been
};

void AccessibilityTest::operateTheFilter() {
    act("Filter");
    EXPECT_TRUE(soonShowTheirOwn());
    EXPECT_TRUE(soon([&] { return !hear("Filter").is("checked"); }));
    act("Filter");
    EXPECT_TRUE(soonFiltered());
    EXPECT_TRUE(soon([&] { return hear("Filter").is("checked"); }));
    choose("Pause temporarily", "For 1 Hour");
    EXPECT_TRUE(soonShowTheirOwn());
    hear("Resume");
    walk();
    act("Resume");
    EXPECT_TRUE(soonFiltered());
}

void AccessibilityTest::operateTheAdjustments() {
    act("Advanced");
    EXPECT_TRUE(soon([&] { return hear("Advanced").is("expanded"); }));
    set("Intensity", 0.4);
    EXPECT_TRUE(soonHears("40%", "label"));
    set("Dimming", 0.2);
    set("Black Point", 0.1);
    set("Contrast", -0.2);
    EXPECT_TRUE(soonShow(shown(FilterPreset::fl41(), 0.4, 0.2, 0.1, -0.2)));
    walk();
    act("Revert to preset values");
    EXPECT_TRUE(soonShow(shown(FilterPreset::fl41())));
    act("Preset");
    hear("Evening", "menu item");
    walk();
    act("Evening", "menu item");
    EXPECT_TRUE(soonShow(shown(FilterPreset::evening())));
    EXPECT_TRUE(soonHears("Preset: Evening"));
}

void AccessibilityTest::operateTheBreaks() {
    act("Break Reminder");
    EXPECT_TRUE(soonStores("breakReminderEnabled = true"));
    hear("Remind every");
    walk();
    choose("Remind every", "30 min");
    EXPECT_TRUE(soonStores("breakIntervalMinutes = 30"));
}

void AccessibilityTest::operateTheShortcut() {
    act("Global Shortcut");
    EXPECT_TRUE(soonHearsNoMore("Control Shift E"));
    act("Global Shortcut");
    act("Control Shift E");
    EXPECT_TRUE(soonHears("Press shortcut…"));
    hands_.press({key::kControl, key::kAlt, key::kE});
    act("Control Alt E");
    EXPECT_TRUE(soonHears("Press shortcut…"));
    press(key::kEscape);
    EXPECT_TRUE(soonHears("Control Alt E"));
    act("Reset to Control Shift E");
    EXPECT_TRUE(soonHears("Control Shift E"));
}

void AccessibilityTest::operateTheSchedule() {
    act("Automatic Schedule");
    EXPECT_TRUE(soonStores("scheduleEnabled = true"));
    EXPECT_EQ(reader_.text(hear("From")), "8:00 PM");
    reader_.setValue(hear("From"), 21 * 60 + 15);
    reader_.setValue(hear("to"), 6 * 60 + 30);
    EXPECT_TRUE(soonStores("scheduleStartMinutes = 1275"));
    EXPECT_TRUE(soonStores("scheduleEndMinutes = 390"));
    walk();
    act("Sunset to Sunrise");
    EXPECT_TRUE(soonStores("scheduleMode = 1"));
    act("Change…");
    hear("Latitude");
    walk();
    act("Time Zone");
    EXPECT_TRUE(soonHears("The time zone has no known place."));
    type("Latitude", "52.5");
    type("Longitude", "13.4");
    act("Use");
    EXPECT_TRUE(soonHears("For the position that you entered."));
    act("Change…");
    act("Cancel");
    act("Change…");
    act("Location Service");
    EXPECT_TRUE(soonHearsNoMore("Latitude"));
    act("Custom Times");
    EXPECT_TRUE(soonStores("scheduleMode = 0"));
    act("Automatic Schedule");
    EXPECT_TRUE(soonStores("scheduleEnabled = false"));
}

void AccessibilityTest::operateTheRestOfTheSettings() {
    act("Launch at Login");
    EXPECT_TRUE(soon([&] { return std::filesystem::exists(home().path() / ".config/autostart/dravo.desktop"); }));
    choose("Language", "Deutsch");
    EXPECT_TRUE(soonHears("Language Updated", "alert message"));
    act("Later");
    EXPECT_TRUE(soonHearsNoMore("Language Updated"));
    // A server that lets everybody wait, until it goes.
    act("Check for Updates…");
    EXPECT_TRUE(soonHears("Checking for updates…", "alert message"));
    walk();
    reader_.listen();
    feed_.reset();
    const std::string failure = "Could not check for updates";
    EXPECT_TRUE(soonHears(failure, "alert message"));
    EXPECT_TRUE(soon([&] { return reader_.alerts(failure) == 1; })) << "a card that says something else tells so";
    EXPECT_EQ(focused(), hear("Close").object.path);
    walk();
    act("Close");
    EXPECT_TRUE(soonHearsNoMore("Close"));
}

void AccessibilityTest::operateTheEditor() {
    FilterPreset draft = FilterPreset::evening();
    act("Save current settings as a preset");
    type("Preset Name", "Mine");
    act("Advanced");
    const std::pair<const char*, double FilterPreset::*> fields[] = {
        {"Red", &FilterPreset::redFactor},
        {"Green", &FilterPreset::greenFactor},
        {"Blue", &FilterPreset::blueFactor},
        {"Intensity", &FilterPreset::intensity},
        {"Dimming", &FilterPreset::dimming},
        {"Black Point", &FilterPreset::blackPoint},
        {"Contrast", &FilterPreset::contrast},
        {"Gamma", &FilterPreset::gamma},
        {"Temp (K)", &FilterPreset::colorTemperature},
        {"R Int", &FilterPreset::redIntensity},
        {"G Int", &FilterPreset::greenIntensity},
        {"B Int", &FilterPreset::blueIntensity},
    };
    for (const auto& [name, field] : fields) {
        const auto [least, most] = reader_.range(hear(name, "slider"));
        draft.*field = least + 0.75 * (most - least);
        set(name, draft.*field);
    }
    EXPECT_TRUE(soonShow(shown(draft)));
    walk();
    act("Save");
    EXPECT_TRUE(soonHears("Preset: Mine"));
}

void AccessibilityTest::operateTheCards() {
    act("Edit this preset");
    hear("Save");
    act("Cancel");
    act("Delete this preset");
    EXPECT_TRUE(soonHears("Delete \"Mine\"?", "alert message"));
    walk();
    act("Delete");
    EXPECT_TRUE(soonHears("Preset: Migraine Precision"));
    choose("Preset", "Import Presets…");
    EXPECT_TRUE(soonHears("Import Presets", "dialog"));
    press(key::kEscape);
    EXPECT_TRUE(soonHearsNoMore("Import Presets", "dialog"));
    EXPECT_TRUE(panel());
}

TEST_F(AccessibilityTest, EveryControlHasANameAndDoesItsWorkWithoutEyesOrMouse) {
    const Run run = open();
    walk();
    operateTheFilter();
    operateTheAdjustments();
    operateTheBreaks();
    act("Settings");
    EXPECT_TRUE(soon([&] { return hear("Settings").is("expanded"); }));
    walk();
    operateTheShortcut();
    operateTheRestOfTheSettings();
    operateTheEditor();
    operateTheCards();
    operateTheSchedule();  // last: it switches the filter by the hour
    for (const auto& name : heard_) EXPECT_TRUE(operated_.contains(name) || name == "Quit Dravo") << name;
    act("Quit Dravo");
    EXPECT_EQ(run->waitForExit(), ExitStatus::exited(0)) << run->standardError();
    EXPECT_EQ(tables(), ownTables());
}

TEST_F(AccessibilityTest, TabReachesEveryControlOnceAndShiftTabGoesBack) {
    const Run run = open("advancedExpanded = true\nbreakReminderEnabled = true\n");
    act("Settings");
    hear("Launch at Login");
    for (const bool inEditor : {false, true}) {
        if (inEditor) {
            act("Save current settings as a preset");
            act("Advanced");
            hear("Temp (K)");
        }
        std::vector<std::string> reachable;
        for (const auto& control : walk())
            if (control.is("focusable") && control.is("enabled")) reachable.push_back(control.object.path);
        std::vector<std::string> way;
        for (std::size_t i = 0; i < reachable.size(); ++i) way.push_back(nextByKeyboard({key::kTab}));
        std::ranges::sort(reachable);
        auto reached = way;
        std::ranges::sort(reached);
        EXPECT_EQ(reached, reachable);
        for (std::size_t i = way.size() - 1; i-- > 0;) EXPECT_EQ(nextByKeyboard({key::kShift, key::kTab}), way[i]);
    }
    press(key::kEscape);
    EXPECT_TRUE(soonHears("Intensity", "slider"));
    EXPECT_TRUE(panel()) << "the first closes the editor";
    press(key::kEscape);
    EXPECT_TRUE(soonIsClosed());
    quit(*run);
}

}  // namespace
}  // namespace dravo::testing
