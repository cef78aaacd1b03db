#include "desktop/filter_run_test.h"
#include "support/x_keyboard.h"

namespace dravo::testing {
namespace {

/// The running program and a person's hands. Control Shift E unless a test says otherwise.
class ShortcutRunTest : public FilterRunTest {
protected:
    void SetUp() override {
        FilterRunTest::SetUp();
        if (!IsSkipped() && !HasFatalFailure()) keyboard_.emplace(server().address());
    }

    void press() { keyboard_->press({key::kControl, key::kShift, key::kE}); }
    [[nodiscard]] bool soonAreOn() {
        return waitUntil([&] { return allShow(filtered(intensity())); });
    }
    [[nodiscard]] bool soonAreOff() {
        return waitUntil([&] { return tables() == ownTables(); });
    }
    /// Whether the program has taken the key: another client may not. The server does nothing else meanwhile, or this
    /// client would be in the program's way.
    [[nodiscard]] bool isTaken(std::uint16_t modifiers = XCB_MOD_MASK_CONTROL | XCB_MOD_MASK_SHIFT) {
        const std::unique_ptr<xcb_connection_t, void (*)(xcb_connection_t*)> other(
            xcb_connect(server().address().c_str(), nullptr), xcb_disconnect);
        const auto root = xcb_setup_roots_iterator(xcb_get_setup(other.get())).data->root;
        xcb_grab_server(other.get());
        const auto grab =
            xcb_grab_key_checked(other.get(), 0, root, modifiers, key::kE, XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_ASYNC);
        xcb_ungrab_key(other.get(), key::kE, root, modifiers);
        xcb_ungrab_server(other.get());
        auto* const error = xcb_request_check(other.get(), grab);
        const bool isRefused = error != nullptr;
        std::free(error);
        return isRefused;
    }

    std::optional<XKeyboard> keyboard_;
};

TEST_F(ShortcutRunTest, TogglesOnceForEachPress) {
    const Run run = startAndSettle();
    ASSERT_TRUE(waitUntil([&] { return isTaken(); }));
    for (int i = 0; i < 3; ++i) press();
    EXPECT_TRUE(soonAreOff()) << "each counts, also during a fade";
    press();
    EXPECT_TRUE(soonAreOn());
    quit(*run);
    EXPECT_EQ(tables(), ownTables());
    EXPECT_FALSE(isTaken());
}

TEST_F(ShortcutRunTest, FiltersOnWithoutAShortcutThatAnotherProgramHas) {
    ProcessUnderTest first(home(), {"--headless"}, onServer());
    ASSERT_TRUE(waitUntil([&] { return isTaken(); }));
    const TestHome otherHome;
    otherHome.writePreferences("filterEnabled = false\n");
    ProcessUnderTest second(otherHome, {"--headless"}, onServer());
    const std::string line = "dravo: the shortcut Control Shift E does not work: another program has it\n";
    EXPECT_TRUE(waitUntil([&] { return second.standardError().find(line) != std::string::npos; }))
        << second.standardError();
    // An edit of the other program's preferences gives it one that is free.
    otherHome.writePreferences("filterEnabled = false\nshortcutModifiers = 2048\n");
    quit(first);
    EXPECT_EQ(tables(), ownTables());
    EXPECT_FALSE(isTaken());
    ASSERT_TRUE(waitUntil([&] { return isTaken(XCB_MOD_MASK_1); }));
    keyboard_->press({key::kAlt, key::kE});
    EXPECT_TRUE(waitUntil([&] { return tables() != ownTables(); }));
    quit(second);
}

}  // namespace
}  // namespace dravo::testing
