#include <algorithm>

#include "desktop/panel_run_test.h"

namespace dravo::testing {
namespace {

/// Longer than it takes the program to open its panel by itself where it does so.
constexpr auto kLongerThanTheWelcome = 1s;
constexpr auto kLongerThanItWaitsForATray = 6s;

/// From the first start to the end, in every way that a person may meet them.
using PanelLifeTest = PanelRunTest;

/// A window of another program, "other", that a window manager takes care of.
class OtherWindow : public XClient {
public:
    OtherWindow(const std::string& address, Place middle) : XClient(address) {
        constexpr std::uint16_t kSize = 200;
        constexpr char kClass[] = "other\0Other";
        xcb_create_window(connection(), XCB_COPY_FROM_PARENT, window_, root(),
                          static_cast<std::int16_t>(middle.x - kSize / 2),
                          static_cast<std::int16_t>(middle.y - kSize / 2), kSize, kSize, 0,
                          XCB_WINDOW_CLASS_INPUT_OUTPUT, XCB_COPY_FROM_PARENT, 0, nullptr);
        xcb_change_property(connection(), XCB_PROP_MODE_REPLACE, window_, XCB_ATOM_WM_CLASS, XCB_ATOM_STRING, 8,
                            sizeof(kClass), kClass);
        xcb_map_window(connection(), window_);
        sync();
    }
    /// Gets the keyboard without a press, as where the focus follows the mouse.
    void takeKeyboard() {
        xcb_set_input_focus(connection(), XCB_INPUT_FOCUS_PARENT, window_, XCB_CURRENT_TIME);
        sync();
    }

private:
    xcb_window_t window_ = xcb_generate_id(connection());
};

TEST_F(PanelLifeTest, WelcomesUntilThePersonBeginsAndNeverAgain) {
    prefer(kStrong);
    startTray(TrayHost::Kind::xembed);
    Run run = start({"--autostart"});
    ASSERT_TRUE(soonIsOpen()) << scene() << run->standardError();
    EXPECT_TRUE(soonHears("Welcome to Dravo"));
    EXPECT_TRUE(soonHears("Toggle with Control Shift E from anywhere"));
    press(key::kEscape);
    ASSERT_TRUE(soonIsClosed());
    quit(*run);

    run = start({});
    ASSERT_TRUE(soonIsOpen()) << "a welcome that was only closed comes again";
    click("Get Started");
    EXPECT_TRUE(soonHears("Break Reminder"));
    EXPECT_TRUE(panel());
    quit(*run);
    EXPECT_NE(contentOf(home().preferences()).find("hasSeenOnboarding = true"), std::string::npos);

    run = startWithIcon();
    EXPECT_TRUE(staysClosed(kLongerThanTheWelcome));
    quit(*run);
}

TEST_F(PanelLifeTest, WithoutATrayItOpensForAPersonAndNotAtLogin) {
    Run run = start({"--autostart"});
    ASSERT_TRUE(soonFiltered()) << run->standardError();
    EXPECT_TRUE(staysClosed(kLongerThanItWaitsForATray));
    quit(*run);

    run = start({});
    EXPECT_TRUE(soonIsOpen()) << scene() << run->standardError();
    EXPECT_TRUE(kFirstScreen.contains(*panel())) << *panel();
    quit(*run);
}

TEST_F(PanelLifeTest, ASecondStartOpensThePanelOfTheFirstAndEnds) {
    startTray(TrayHost::Kind::xembed);
    const Run first = startWithIcon();
    command({"--autostart"});
    EXPECT_TRUE(staysClosed()) << "nobody asked for it";
    for (const std::vector<std::string>& words : {std::vector<std::string>{}, {"panel"}}) {
        const std::string said = command(words);
        EXPECT_TRUE(soonIsOpen()) << scene() << said;
        EXPECT_TRUE(isInCharge(*first));
        EXPECT_TRUE(allShow(filtered(kStrong)));
        press(key::kEscape);
        ASSERT_TRUE(soonIsClosed());
    }
    quit(*first);
}

TEST_F(PanelLifeTest, StaysWhereTheKeyboardGoesByItselfAndGoesWhereAPersonTurnsAway) {
    const Run run = startWithPanel();
    OtherWindow other(server().address(), kOutside);
    const auto soonHasTheKeyboard = [&](const char* program) {
        return soon([&] { return windows_.focusedProgram() == program; });
    };
    ASSERT_TRUE(soonHasTheKeyboard("other")) << "a new window is in front";
    EXPECT_TRUE(staysOpen());
    ASSERT_TRUE(openPanel());
    other.takeKeyboard();
    ASSERT_TRUE(soonHasTheKeyboard("other"));
    EXPECT_TRUE(staysOpen());
    hands_.click(kOutside);
    EXPECT_TRUE(soonIsClosed());

    ASSERT_TRUE(openPanel());
    hands_.press({key::kAlt, key::kTab});
    ASSERT_TRUE(soonHasTheKeyboard("other"));
    EXPECT_TRUE(soonIsClosed());
    quit(*run);
}

TEST_F(PanelLifeTest, StartsNoBusWhereTheSessionHasNone) {
    startTray(TrayHost::Kind::xembed);
    writeProgram(home().path() / "bin/dbus-launch", "touch \"$HOME/launched\"");
    session()["PATH"] = (home().path() / "bin").string() + ":/usr/bin:/bin";
    session()["DBUS_SESSION_BUS_ADDRESS"] = "";
    for (const std::string& folder : {home().runtimeFolder().string(), std::string()}) {
        session()["XDG_RUNTIME_DIR"] = folder;
        const Run run = startWithIcon();
        EXPECT_TRUE(openFromNewIcon()) << run->standardError();
        quit(*run);
    }
    for (const char* const trace : {"launched", ".dbus"})
        EXPECT_FALSE(std::filesystem::exists(home().path() / trace)) << trace;
}

TEST_F(PanelLifeTest, EndsWithThePanelUp) {
    Run run = startWithPanel();
    click("Quit Dravo");
    EXPECT_EQ(run->waitForExit(), ExitStatus::exited(0)) << run->standardError();
    EXPECT_EQ(tables(), ownTables());
    EXPECT_FALSE(std::filesystem::exists(savedTables()));

    std::string saved;
    for (const int signal : {SIGTERM, SIGINT}) {
        run = startWithPanel();
        saved = contentOf(savedTables());
        EXPECT_EQ(run->endBy(signal), ExitStatus::killedBy(signal)) << run->standardError();
        EXPECT_EQ(tables(), ownTables());
        EXPECT_EQ(contentOf(savedTables()), saved);
    }

    run = startWithPanel();
    server().kill();
    EXPECT_EQ(run->waitForExit(), ExitStatus::exited(3));
    const std::string told = run->standardError();
    EXPECT_NE(told.find("dravo: the display server is gone\n"), std::string::npos) << told;
    EXPECT_EQ(told.find("the display server is gone"), told.rfind("the display server is gone")) << told;
    EXPECT_EQ(contentOf(savedTables()), saved);
}

}  // namespace
}  // namespace dravo::testing
