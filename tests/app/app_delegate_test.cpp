#include "app/app_delegate.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <optional>

#include "app/updater_bridge.h"
#include "support/filter_world.h"

namespace dravo {
namespace {

using namespace std::chrono_literals;

class FakeItem final : public StatusItem {
public:
    void setSymbol(Symbol wanted) override { symbol = wanted; }
    void setToolTip(const std::string& text) override { toolTip = text; }
    void setMenu(std::function<std::vector<MenuEntry>()> make) override { menu = std::move(make); }
    Subscription onClick(std::function<void(Button)> callback) override { return clicks.add(std::move(callback)); }
    bool isShown() const override { return hasTray; }

    bool hasTray = true;
    Symbol symbol = Symbol::eyeSlashCircle;
    std::string toolTip;
    std::function<std::vector<MenuEntry>()> menu;
    SubscriberList<Button> clicks;
};

class FakePopover final : public Popover {
public:
    void present() override {
        if (!isOpen) ++openings;
        isOpen = true;
    }
    void dismiss() override { isOpen = false; }
    bool isShown() const override { return isOpen; }
    bool wasJustClosed() const override { return isJustClosed; }

    bool isOpen = false;
    bool isJustClosed = false;  ///< A click outside closed it a moment ago.
    int openings = 0;
};

class AppDelegateTest : public ::testing::Test {
protected:
    void launch(RunKind kind, bool hasSeenOnboarding) {
        delegate_.reset();
        world_.preferences.setHasSeenOnboarding(hasSeenOnboarding);
        delegate_.emplace(AppDelegateParts{world_.start(), world_.preferences, world_.displays, item_, popover_,
                                           world_.scheduler, [](WallTime) { return std::string("13:00"); },
                                           [this] { ++checks_; }, [this] { ++quits_; }});
        delegate_->finishLaunching(kind);
    }

    std::vector<std::string> titles() {
        std::vector<std::string> titles;
        for (const auto& entry : item_.menu()) titles.push_back(entry.title);
        return titles;
    }
    void choose(const std::string& title) {
        for (const auto& entry : item_.menu())
            if (entry.title == title) return entry.action();
        FAIL() << "there is no " << title;
    }

    testing::FilterWorld world_;
    FakeItem item_;
    FakePopover popover_;
    int checks_ = 0;
    int quits_ = 0;
    std::optional<AppDelegate> delegate_;
};

TEST_F(AppDelegateTest, OpensThePanelWhereNobodyWouldFindItOtherwise) {
    const struct {
        const char* name;
        RunKind kind;
        bool hasSeenOnboarding;
        bool hasTray;
        int openings;
    } rows[] = {
        {"first run", RunKind::byPerson, false, true, 1}, {"first run at login", RunKind::atLogin, false, true, 1},
        {"no tray", RunKind::byPerson, true, false, 1},   {"no tray at login", RunKind::atLogin, true, false, 0},
        {"as usual", RunKind::byPerson, true, true, 0},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        item_.hasTray = row.hasTray;
        popover_ = {};
        launch(row.kind, row.hasSeenOnboarding);
        world_.scheduler.advance(1min);
        EXPECT_EQ(popover_.openings, row.openings);
    }
}

TEST_F(AppDelegateTest, AClickOpensAndClosesThePanelAndTheMiddleButtonToggles) {
    launch(RunKind::atLogin, true);
    const bool wasEnabled = world_.state->isEnabled;
    item_.clicks.deliver(StatusItem::Button::left);
    EXPECT_TRUE(popover_.isOpen);
    item_.clicks.deliver(StatusItem::Button::left);
    EXPECT_FALSE(popover_.isOpen);
    popover_.isJustClosed = true;
    item_.clicks.deliver(StatusItem::Button::left);
    EXPECT_FALSE(popover_.isOpen) << "the same click has just closed it";
    item_.clicks.deliver(StatusItem::Button::middle);
    EXPECT_NE(world_.state->isEnabled, wasEnabled);
    EXPECT_FALSE(popover_.isOpen);
}

TEST_F(AppDelegateTest, TheIconAndItsMenuFollowTheFilter) {
    using Symbol = StatusItem::Symbol;
    launch(RunKind::atLogin, true);
    const auto offersPause = [&] { return std::ranges::count(titles(), "Pause for 1 Hour") == 1; };
    const auto expectIcon = [&](Symbol symbol, const char* toolTip) {
        world_.scheduler.advance(0s);
        EXPECT_EQ(item_.symbol, symbol);
        EXPECT_EQ(item_.toolTip, toolTip);
    };
    if (!world_.state->isEnabled) world_.state->toggle();
    expectIcon(Symbol::eyeCircleFill, "Filter on");
    EXPECT_TRUE(offersPause());
    choose("Pause for 1 Hour");
    expectIcon(Symbol::eyeSlashCircle, "Paused until 13:00");
    world_.scheduler.advance(2h);
    expectIcon(Symbol::eyeCircleFill, "Filter on");
    choose("Toggle Filter");
    expectIcon(Symbol::eyeCircle, "Filter off");
    EXPECT_FALSE(offersPause());
    choose("Quit Dravo");
    EXPECT_EQ(quits_, 1);
}

TEST_F(AppDelegateTest, ACheckForUpdatesShowsThePanelAndOnlyWhileTheDelegateLives) {
    launch(RunKind::atLogin, true);
    EXPECT_EQ(checks_, 0);
    choose("Check for Updates…");
    EXPECT_EQ(checks_, 1);
    EXPECT_TRUE(popover_.isOpen);
    ASSERT_TRUE(UpdaterBridge::shared().checkForUpdates);
    UpdaterBridge::shared().checkForUpdates();
    EXPECT_EQ(checks_, 2);
    EXPECT_TRUE(popover_.isOpen);
    EXPECT_EQ(popover_.openings, 1);
    delegate_.reset();
    EXPECT_FALSE(UpdaterBridge::shared().checkForUpdates);
}

TEST_F(AppDelegateTest, ToolTipNamesADisplayThatCannotBeFiltered) {
    launch(RunKind::byPerson, true);
    EXPECT_EQ(item_.toolTip, "Filter on");
    world_.desk.plug("DOCK-1", world_.desk.addCrtc(0));
    world_.scheduler.advance(1s);
    EXPECT_TRUE(item_.toolTip.starts_with("Filter on\nDOCK-1: ")) << item_.toolTip;
}

}  // namespace
}  // namespace dravo
