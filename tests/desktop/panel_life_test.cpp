#include <algorithm>

#include "desktop/panel_run_test.h"

namespace dravo::testing {
namespace {

using namespace std::chrono_literals;

/// Longer than it takes the program to open its panel by itself where it does so.
constexpr auto kLongerThanTheWelcome = 1s;
constexpr auto kLongerThanItWaitsForATray = 6s;

/// From the first start to the end, in every way that a person may meet them.
class PanelLifeTest : public PanelRunTest {
protected:
    bool staysClosedFor(std::chrono::milliseconds time) {
        return !waitUntil([&] { return isPanelOpen(); }, time);
    }
    bool soonHears(const std::string& name) {
        return soon([&] { return reader().find(name).has_value(); });
    }
    std::string preferences() { return contentOf(home().path() / ".config/dravo/preferences.toml"); }
};

TEST_F(PanelLifeTest, WelcomesUntilThePersonBeginsAndNeverAgain) {
    prefer(kStrong);
    startTray(TrayHost::Kind::xembed);
    Run run = startProgram({"--autostart"});
    ASSERT_TRUE(soonIsOpen()) << scene() << run->standardError();
    EXPECT_TRUE(soonHears("Welcome to Dravo"));
    EXPECT_TRUE(soonHears("Toggle with Control Shift E from anywhere"));
    press(key::kEscape);
    ASSERT_TRUE(soonIsClosed());
    quit(*run);

    run = startProgram();
    ASSERT_TRUE(soonIsOpen()) << "a welcome that was only closed comes again";
    click("Get Started");
    EXPECT_TRUE(soonHears("Break Reminder"));
    EXPECT_TRUE(isPanelOpen());
    quit(*run);
    EXPECT_NE(preferences().find("hasSeenOnboarding = true"), std::string::npos) << preferences();

    run = startWithIcon();
    EXPECT_TRUE(staysClosedFor(kLongerThanTheWelcome));
    quit(*run);
    EXPECT_EQ(tables(), ownTables());
}

TEST_F(PanelLifeTest, WithoutATrayItOpensForAPersonAndNotAtLogin) {
    Run run = startProgram({"--autostart"});
    ASSERT_TRUE(soonFiltered()) << run->standardError();
    EXPECT_TRUE(staysClosedFor(kLongerThanItWaitsForATray));
    quit(*run);

    run = startProgram();
    EXPECT_TRUE(soonIsOpen()) << scene() << run->standardError();
    EXPECT_TRUE(kFirstScreen.contains(panel()->box)) << panel()->box;
    quit(*run);
    EXPECT_EQ(tables(), ownTables());
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
    OtherWindow other(server().address(), {kOutside.x - 100, kOutside.y - 100, 200, 200});
    const auto soonHasTheKeyboard = [&](const char* program) {
        return soon([&] { return windows().focusedProgram() == program; });
    };
    ASSERT_TRUE(soonHasTheKeyboard("other")) << "a new window is in front";
    EXPECT_TRUE(staysOpen());
    ASSERT_TRUE(openPanel());
    other.takeKeyboard();
    ASSERT_TRUE(soonHasTheKeyboard("other"));
    EXPECT_TRUE(staysOpen());
    pointer().click(kOutside);
    EXPECT_TRUE(soonIsClosed());

    ASSERT_TRUE(openPanel());
    keyboard().press({key::kAlt, key::kTab});
    ASSERT_TRUE(soonHasTheKeyboard("other"));
    EXPECT_TRUE(soonIsClosed());
    quit(*run);
}

TEST_F(PanelLifeTest, StartsNoBusWhereTheSessionHasNone) {
    startTray(TrayHost::Kind::xembed);
    home().write("bin/dbus-launch", "#!/bin/sh\ntouch \"$HOME/launched\"\n");
    std::filesystem::permissions(home().path() / "bin/dbus-launch", std::filesystem::perms::owner_all);
    setVariable("PATH", (home().path() / "bin").string() + ":/usr/bin:/bin");
    setVariable("DBUS_SESSION_BUS_ADDRESS", "");
    for (const std::string& folder : {home().runtimeFolder().string(), std::string()}) {
        setVariable("XDG_RUNTIME_DIR", folder);
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
        run->signal(signal);
        EXPECT_EQ(run->waitForExit(), ExitStatus::killedBy(signal)) << run->standardError();
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
