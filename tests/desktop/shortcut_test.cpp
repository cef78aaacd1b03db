#include "desktop/filter_run_test.h"
#include "support/x_hands.h"

namespace dravo::testing {
namespace {

/// The running program and a person's hands.
class ShortcutRunTest : public FilterRunTest {
protected:
    /// Whether the program has taken the key: another client may not. The server does nothing else meanwhile, or this
    /// client would be in the program's way.
    [[nodiscard]] bool isTaken(std::uint16_t modifiers = XCB_MOD_MASK_CONTROL | XCB_MOD_MASK_SHIFT) {
        auto* const c = hands_.connection();
        xcb_grab_server(c);
        const auto grab =
            xcb_grab_key_checked(c, 0, hands_.root(), modifiers, key::kE, XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_ASYNC);
        xcb_ungrab_key(c, key::kE, hands_.root(), modifiers);
        xcb_ungrab_server(c);
        return !hands_.accepts(grab);
    }

    XHands hands_{server().address()};
};

TEST_F(ShortcutRunTest, FiltersOnWithoutAShortcutThatAnotherProgramHas) {
    const Run first = start();
    ASSERT_TRUE(soon([&] { return isTaken(); }));
    const TestHome otherHome;
    otherHome.writePreferences("filterEnabled = false\n");
    ProcessUnderTest second(otherHome, {"--headless"}, onServer());
    const std::string line = "dravo: the shortcut Control Shift E does not work: another program has it\n";
    EXPECT_TRUE(soon([&] { return second.standardError().find(line) != std::string::npos; })) << second.standardError();
    // An edit of the other program's preferences gives it one that is free.
    otherHome.writePreferences("filterEnabled = false\nshortcutModifiers = 2048\n");
    quit(*first);
    EXPECT_FALSE(isTaken());
    ASSERT_TRUE(soon([&] { return isTaken(XCB_MOD_MASK_1); }));
    for (int i = 0; i < 3; ++i) hands_.press({key::kAlt, key::kE});  // each counts, also during a fade
    EXPECT_TRUE(soon([&] { return tables() != ownTables(); }));
    quit(second);
}

}  // namespace
}  // namespace dravo::testing
