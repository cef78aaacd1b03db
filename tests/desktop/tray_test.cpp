#include "desktop/panel_run_test.h"

namespace dravo::testing {
namespace {

using Kind = TrayHost::Kind;

/// The tray icon, its menu and its panel, under each kind of host.
class TrayTest : public PanelRunTest, public ::testing::WithParamInterface<Kind> {
protected:
    TrayTest() { startTray(GetParam()); }

    /// Opens the menu and clicks the entry of this place, of so many.
    void choose(int entry, int count) {
        clickIcon(Button::right);
        clickEntry(entry, count);
    }
    /// Opens the menu and presses the keys; the program is gone then.
    void quitByMenu(ProcessUnderTest& run, const std::vector<std::uint8_t>& keys) {
        clickIcon(Button::right);
        ASSERT_TRUE(soon([&] { return menu().has_value(); }));
        hands_.press(keys);
        EXPECT_EQ(run.waitForExit(), ExitStatus::exited(0)) << run.standardError();
        EXPECT_EQ(tables(), ownTables());
        EXPECT_FALSE(std::filesystem::exists(savedTables()));
    }
    /// Has a host that is operated by keyboard open the panel.
    void activate() {
        BusClient client(bus_.address());
        auto items = client.property({"org.kde.StatusNotifierWatcher", "/StatusNotifierWatcher"},
                                     "org.kde.StatusNotifierWatcher", "RegisteredStatusNotifierItems");
        items.enter('v', "as");
        items.enter('a', "s");
        const std::string item = items.text();
        client.call({item.substr(0, item.find('/')), "/StatusNotifierItem"}, "org.kde.StatusNotifierItem", "Activate",
                    "ii", 0, 0);
    }
};

TEST_P(TrayTest, ClicksAndKeysOpenAndCloseThePanelAndToggle) {
    const Run run = startWithIcon();
    EXPECT_FALSE(panel());

    ASSERT_TRUE(openFromNewIcon()) << run->standardError();
    EXPECT_TRUE(kFirstScreen.contains(*panel())) << *panel();
    EXPECT_LT(panel()->x, 20) << "under the icon, not " << *panel();
    clickIcon();
    EXPECT_TRUE(soonIsClosed());
    EXPECT_TRUE(staysClosed()) << "the click that closed it opened it again";
    clickIcon();
    ASSERT_TRUE(soonIsOpen());
    const Place icon = *iconPlace();
    hands_.clickDown(icon);
    EXPECT_TRUE(soonIsClosed());
    EXPECT_TRUE(staysClosed());
    hands_.clickUp(icon);
    EXPECT_TRUE(staysClosed()) << "a slow click is one click";

    clickIcon();
    ASSERT_TRUE(soonIsOpen());
    pressShortcut();
    EXPECT_TRUE(soonShowTheirOwn());
    EXPECT_TRUE(panel());
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
    hands_.click(kOutside);
    EXPECT_TRUE(soonIsClosed());
    EXPECT_TRUE(staysClosed());
    if (GetParam() == Kind::notifier) {
        press(key::kReturn);
        EXPECT_FALSE(reader_.find("Filter")) << "and it has seen the key";
        activate();
        EXPECT_TRUE(soonIsOpen());
        press(key::kEscape);
        EXPECT_TRUE(soonIsClosed());
    }

    for (int i = 0; i < 3; ++i) clickIcon(Button::middle);
    EXPECT_TRUE(soonShowTheirOwn()) << "each counts, however quick";
    clickIcon();
    ASSERT_TRUE(soonIsOpen());
    clickIcon(Button::middle);
    EXPECT_TRUE(soonFiltered());
    EXPECT_TRUE(soonIsClosed());
    quit(*run);
}

TEST_P(TrayTest, MenuTogglesPausesAndQuitsAndTheIconComesBackWithItsHost) {
    const Run run = startWithIcon();
    ASSERT_TRUE(openFromNewIcon()) << run->standardError();
    choose(1, 4);
    EXPECT_TRUE(soonShowTheirOwn());
    EXPECT_TRUE(command({"status"}).find("paused until") != std::string::npos) << command({"status"});
    choose(0, 3);
    EXPECT_TRUE(soonFiltered());
    choose(0, 4);
    EXPECT_TRUE(soonShowTheirOwn());

    stopTray();
    EXPECT_TRUE(run->isRunning());
    startTray(GetParam());
    ASSERT_TRUE(openFromNewIcon()) << run->standardError();
    clickIcon(Button::middle);
    EXPECT_TRUE(soonFiltered());
    EXPECT_TRUE(soonIsClosed());

    quitByMenu(*run, {key::kQ});
    if (GetParam() == Kind::xembed) quitByMenu(*startWithIcon(), {key::kControl, key::kQ});
}

INSTANTIATE_TEST_SUITE_P(Host, TrayTest, ::testing::Values(Kind::xembed, Kind::notifier),
                         [](const auto& kind) { return kind.param == Kind::xembed ? "Xembed" : "StatusNotifier"; });

}  // namespace
}  // namespace dravo::testing
