#include <stdexcept>

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
        clickEntry(entry, count);
    }

    /// The icon as its host knows it.
    std::string itemOnBus(BusClient& client) {
        auto items = client.property({"org.kde.StatusNotifierWatcher", "/StatusNotifierWatcher"},
                                     "org.kde.StatusNotifierWatcher", "RegisteredStatusNotifierItems");
        items.enter('v', "as");
        items.enter('a', "s");
        const std::string item = items.text();
        return item.substr(0, item.find('/'));
    }
    /// The entries of the menu as the program tells them to the host; "" for a line between them.
    std::vector<std::string> entriesOnBus() {
        BusClient client(bus().address());
        const BusObject menu{itemOnBus(client), "/MenuBar"};
        auto layout = client.call(menu, "com.canonical.dbusmenu", "GetLayout", "iias", 0, 1, 0);
        layout.skip("u");
        layout.enter('r', "ia{sv}av");
        layout.skip("ia{sv}");
        std::vector<std::string> entries;
        layout.forEach('a', "v", [&] {
            layout.enter('v', "(ia{sv}av)");
            layout.enter('r', "ia{sv}av");
            layout.skip("i");
            entries.emplace_back();
            layout.forEach('a', "{sv}", [&] {
                layout.enter('e', "sv");
                if (layout.text() == "label") {
                    layout.enter('v', "s");
                    entries.back() = layout.text();
                    layout.leave();
                } else {
                    layout.skip("v");
                }
                layout.leave();
            });
            layout.skip("av");
            layout.leave();
            layout.leave();
        });
        return entries;
    }
    /// The same as a condition: false, too, while the icon is only about to be known.
    bool hasOnBus(const std::vector<std::string>& entries) {
        try {
            return entriesOnBus() == entries;
        } catch (const std::runtime_error&) {
            return false;
        }
    }
};

TEST_P(TrayTest, ClicksAndKeysOpenAndCloseThePanelAndToggle) {
    const Run run = startWithIcon();
    EXPECT_FALSE(isPanelOpen());

    ASSERT_TRUE(openFromNewIcon()) << run->standardError();
    EXPECT_TRUE(kFirstScreen.contains(panel()->box)) << panel()->box;
    EXPECT_LT(panel()->box.x, 20) << "under the icon, not " << panel()->box;
    clickIcon();
    EXPECT_TRUE(soonIsClosed());
    EXPECT_TRUE(staysClosed()) << "the click that closed it opened it again";
    clickIcon();
    ASSERT_TRUE(soonIsOpen());
    const Place icon = *iconPlace();
    pointer().press(icon);
    EXPECT_TRUE(soonIsClosed());
    EXPECT_TRUE(staysClosed());
    pointer().letGo(icon);
    EXPECT_TRUE(staysClosed()) << "a slow click is one click";

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
    if (GetParam() == Kind::notifier) {
        press(key::kReturn);
        EXPECT_FALSE(reader().find("Filter")) << "and it has seen the key";
        BusClient client(bus().address());
        client.call({itemOnBus(client), "/StatusNotifierItem"}, "org.kde.StatusNotifierItem", "Activate", "ii", 0, 0);
        EXPECT_TRUE(soonIsOpen()) << "a host that is operated by keyboard";
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
    EXPECT_EQ(tables(), ownTables());
}

TEST_P(TrayTest, MenuTogglesPausesAndQuitsAndTheIconComesBackWithItsHost) {
    const Run run = startWithIcon();
    ASSERT_TRUE(openFromNewIcon()) << run->standardError();
    const bool isOnBus = GetParam() == Kind::notifier;
    std::vector<std::string> entries{"Toggle Filter", "Pause for 1 Hour", "", "Check for Updates…", "", "_Quit Dravo"};
    if (isOnBus) {
        EXPECT_TRUE(soon([&] { return hasOnBus(entries); }));
    }
    choose(1, 4);
    EXPECT_TRUE(soonShowTheirOwn());
    EXPECT_TRUE(command({"status"}).find("paused until") != std::string::npos) << command({"status"});
    entries.erase(entries.begin() + 1);
    if (isOnBus) {
        EXPECT_TRUE(soon([&] { return hasOnBus(entries); }));
    }
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

    clickIcon(Button::right);
    ASSERT_TRUE(soon([&] { return menu().has_value(); }));
    press(key::kQ);
    EXPECT_EQ(run->waitForExit(), ExitStatus::exited(0)) << run->standardError();
    EXPECT_EQ(tables(), ownTables());
    EXPECT_FALSE(std::filesystem::exists(savedTables()));
    if (isOnBus) return;

    const Run next = startWithIcon();
    clickIcon(Button::right);
    ASSERT_TRUE(soon([&] { return menu().has_value(); }));
    keyboard().press({key::kControl, key::kQ});
    EXPECT_EQ(next->waitForExit(), ExitStatus::exited(0)) << next->standardError();
}

INSTANTIATE_TEST_SUITE_P(Host, TrayTest, ::testing::Values(Kind::xembed, Kind::notifier),
                         [](const auto& kind) { return kind.param == Kind::xembed ? "Xembed" : "StatusNotifier"; });

}  // namespace
}  // namespace dravo::testing
