#include "desktop/panel_run_test.h"

namespace dravo::testing {
namespace {

using Kind = TrayHost::Kind;

/// The tray icon, its menu and its panel, under each kind of host.
class TrayTest : public PanelRunTest, public ::testing::WithParamInterface<Kind> {
protected:
    void SetUp() override {
        PanelRunTest::SetUp();
        if (!IsSkipped() && !HasFatalFailure()) startTray(GetParam());
    }

    /// Opens the menu and clicks the entry of this place, of so many.
    void choose(int entry, int count) {
        clickIcon(Button::right);
        ASSERT_TRUE(soon([&] { return menu().has_value(); })) << "no menu";
        const Box box = menu()->box;
        pointer().click({box.x + box.width / 2, box.y + box.height * (2 * entry + 1) / (2 * count)});
        EXPECT_TRUE(soon([&] { return !menu(); })) << "the menu stays";
    }
};

TEST_P(TrayTest, ClicksAndKeysOpenAndCloseThePanelAndToggle) {
    const Run run = startWithIcon();
    EXPECT_FALSE(isPanelOpen());

    clickIcon();
    ASSERT_TRUE(soonIsOpen()) << run->standardError();
    EXPECT_TRUE(kFirstScreen.contains(panel()->box)) << panel()->box;
    EXPECT_LT(panel()->box.x, 20) << "under the icon, not " << panel()->box;
    clickIcon();
    EXPECT_TRUE(soonIsClosed());
    EXPECT_TRUE(staysClosed()) << "the click that closed it opened it again";

    clickIcon();
    ASSERT_TRUE(soonIsOpen());
    pressShortcut();
    EXPECT_TRUE(soonShowTheirOwn());
    EXPECT_TRUE(isPanelOpen());
    press(key::kEscape);
    EXPECT_TRUE(soonIsClosed());
    pressShortcut();
    EXPECT_TRUE(soonFiltered());

    clickIcon();
    ASSERT_TRUE(soonIsOpen());
    for (const std::uint8_t lock : {key::kCapsLock, key::kNumLock}) {
        press(lock);
        pressShortcut();
        EXPECT_TRUE(soonShowTheirOwn());
        pressShortcut();
        EXPECT_TRUE(soonFiltered());
    }
    pointer().click(kOutside);
    EXPECT_TRUE(soonIsClosed());
    EXPECT_TRUE(staysClosed());

    clickIcon(Button::middle);
    EXPECT_TRUE(soonShowTheirOwn());
    clickIcon();
    ASSERT_TRUE(soonIsOpen());
    clickIcon(Button::middle);
    EXPECT_TRUE(soonFiltered());
    EXPECT_TRUE(soonIsClosed());
    quit(*run);
    EXPECT_EQ(tables(), ownTables());
}

TEST_P(TrayTest, MenuTogglesPausesAndQuitsAndTheIconComesBackWithItsHost) {
    const Run run = startWithIcon();
    choose(1, 4);  // Pause for 1 Hour
    EXPECT_TRUE(soonShowTheirOwn());
    EXPECT_TRUE(command({"status"}).find("paused until") != std::string::npos) << command({"status"});
    choose(0, 3);
    EXPECT_TRUE(soonFiltered());
    choose(0, 4);
    EXPECT_TRUE(soonShowTheirOwn());

    stopTray();
    EXPECT_TRUE(run->isRunning());
    startTray(GetParam());
    ASSERT_TRUE(soon([&] { return iconPlace().has_value(); })) << run->standardError();
    clickIcon(Button::middle);
    EXPECT_TRUE(soonFiltered());
    clickIcon();
    EXPECT_TRUE(soonIsOpen());
    press(key::kEscape);
    EXPECT_TRUE(soonIsClosed());

    choose(3, 4);
    EXPECT_EQ(run->waitForExit(), ExitStatus::exited(0)) << run->standardError();
    EXPECT_EQ(tables(), ownTables());
    EXPECT_FALSE(std::filesystem::exists(savedTables()));
}

INSTANTIATE_TEST_SUITE_P(Host, TrayTest, ::testing::Values(Kind::xembed),
                         [](const auto& kind) { return kind.param == Kind::xembed ? "Xembed" : "StatusNotifier"; });

}  // namespace
}  // namespace dravo::testing
