#include "app/app_delegate.h"

#include <gtest/gtest.h>

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
    Subscription onClick(std::function<void(Button)>) override { return {}; }
    bool isShown() const override { return true; }

    Symbol symbol = Symbol::eyeSlashCircle;
    std::string toolTip;
    std::function<std::vector<MenuEntry>()> menu;
};

class FakePopover final : public Popover {
public:
    void present() override { isOpen = true; }
    void dismiss() override { isOpen = false; }
    bool isShown() const override { return isOpen; }
    bool wasJustClosed() const override { return false; }

    bool isOpen = false;
};

class AppDelegateTest : public ::testing::Test {
protected:
    AppDelegateTest() {
        world_.preferences.setHasSeenOnboarding(true);
        delegate_.emplace(AppDelegateParts{world_.start(), world_.preferences, world_.displays, item_, popover_,
                                           world_.scheduler, [](WallTime) { return std::string("13:00"); },
                                           [this] { ++checks_; }, [] {}});
        delegate_->finishLaunching(RunKind::atLogin);
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
    std::optional<AppDelegate> delegate_;
};

TEST_F(AppDelegateTest, TheWelcomeComesAfterHalfASecondAndLeavesOpenWhatIsOpen) {
    world_.preferences.setHasSeenOnboarding(false);
    delegate_->finishLaunching(RunKind::byPerson);
    world_.scheduler.advance(499ms);
    EXPECT_FALSE(popover_.isOpen);
    world_.scheduler.advance(1ms);
    EXPECT_TRUE(popover_.isOpen);
    delegate_->finishLaunching(RunKind::byPerson);
    world_.scheduler.advance(1min);
    EXPECT_TRUE(popover_.isOpen);
}

TEST_F(AppDelegateTest, OpensThePanelOnAStateThatIsLookedAtAnew) {
    choose("Pause for 1 Hour");
    world_.scheduler.sleep(2h);  // nothing runs meanwhile
    EXPECT_TRUE(world_.state->pausedUntil.get());
    delegate_->togglePopover();
    EXPECT_FALSE(world_.state->pausedUntil.get());
    EXPECT_TRUE(world_.state->isEnabled);
}

TEST_F(AppDelegateTest, TheIconFollowsTheFilter) {
    using Symbol = StatusItem::Symbol;
    const auto expectIcon = [&](Symbol symbol, const char* toolTip) {
        world_.scheduler.advance(0s);
        EXPECT_EQ(item_.symbol, symbol);
        EXPECT_EQ(item_.toolTip, toolTip);
    };
    expectIcon(Symbol::eyeCircleFill, "Filter on");
    choose("Pause for 1 Hour");
    expectIcon(Symbol::eyeSlashCircle, "Paused until 13:00");
    world_.scheduler.advance(2h);
    expectIcon(Symbol::eyeCircleFill, "Filter on");
    choose("Toggle Filter");
    expectIcon(Symbol::eyeCircle, "Filter off");
}

TEST_F(AppDelegateTest, ACheckForUpdatesShowsThePanelAndOnlyWhileTheDelegateLives) {
    choose("Check for Updates…");
    EXPECT_EQ(checks_, 1);
    popover_.isOpen = false;
    ASSERT_TRUE(UpdaterBridge::shared().checkForUpdates);
    UpdaterBridge::shared().checkForUpdates();
    EXPECT_EQ(checks_, 2);
    EXPECT_TRUE(popover_.isOpen);
    delegate_.reset();
    EXPECT_FALSE(UpdaterBridge::shared().checkForUpdates);
}

TEST_F(AppDelegateTest, ToolTipNamesADisplayThatCannotBeFiltered) {
    EXPECT_EQ(item_.toolTip, "Filter on");
    world_.desk.plug("DOCK-1", world_.desk.addCrtc(0));
    world_.scheduler.advance(1s);
    EXPECT_TRUE(item_.toolTip.starts_with("Filter on\nDOCK-1: ")) << item_.toolTip;
}

}  // namespace
}  // namespace dravo
