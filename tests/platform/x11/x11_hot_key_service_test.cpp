#include "platform/x11/x11_hot_key_service.h"

#include <gtest/gtest.h>

#include <chrono>
#include <optional>

#include "support/desktop_test.h"
#include "support/run_until.h"
#include "support/x_hands.h"

namespace dravo::x11 {
namespace {

using namespace std::chrono_literals;
using testing::waitUntil;
namespace key = testing::key;

constexpr HotKey kControlShiftE{14, 0x1200};
constexpr HotKey kAltSuperE{14, 0x900};

/// A program with a hot key, in a loop of its own.
class Program {
public:
    explicit Program(const std::string& address) : service_(address, loop_, loop_) {}

    ErrorCode take(HotKey hotKey) {
        registration_.reset();
        auto taken = service_.registerHotKey(hotKey, [this] {
            ++presses_;
            if (onPress) onPress();
        });
        if (!taken) return taken.error().code;
        registration_.emplace(std::move(*taken));
        return kTaken;
    }
    void giveUp() { registration_.reset(); }
    std::function<void()> onPress;

    /// How often it was pressed, once that is `expected` or the time is over.
    int pressesSoon(int expected, std::chrono::milliseconds patience = testing::kPatience) {
        testing::runUntil(
            loop_, [&] { return presses_ == expected; }, patience);
        return presses_;
    }

    static constexpr ErrorCode kTaken{-1};

private:
    posix::SdEventLoop loop_;
    X11HotKeyService service_;
    int presses_ = 0;
    std::optional<Subscription> registration_;
};

class X11HotKeyServiceTest : public testing::DesktopTest {
protected:
    X11HotKeyServiceTest() : DesktopTest(1) {
        run("setxkbmap", {"-rules", "evdev", "-model", "pc105", "-layout", "us"});  // as servers with real keyboards
        hands_.emplace(server().address());
        program_.emplace(server().address());
    }

    /// Runs a tool on the server until it has ended.
    void run(const std::string& program, std::vector<std::string> arguments) {
        testing::ChildProcess tool("/usr/bin/" + program, {.arguments = std::move(arguments),
                                                           .environment = {{"DISPLAY", server().address()}}});
        EXPECT_EQ(tool.waitForExit(), testing::ExitStatus::exited(0)) << program << ": " << tool.standardError();
    }
    void keyboardMapping(std::vector<std::string> expressions) {
        std::vector<std::string> arguments;
        for (auto& expression : expressions) {
            arguments.emplace_back("-e");
            arguments.push_back(std::move(expression));
        }
        run("xmodmap", arguments);
    }
    void pressControlShiftE() { hands_->press({key::kControl, key::kShift, key::kE}); }

    std::optional<testing::XHands> hands_;
    std::optional<Program> program_;
};

TEST_F(X11HotKeyServiceTest, IsPressedWhateverTheLocksSayAndWithItsOwnModifiersOnly) {
    ASSERT_EQ(program_->take(kControlShiftE), Program::kTaken);
    int presses = 0;
    for (const std::uint8_t lock : {key::kCapsLock, key::kNumLock, key::kCapsLock, key::kNumLock}) {
        pressControlShiftE();
        EXPECT_EQ(program_->pressesSoon(++presses), presses);
        hands_->press({lock});
    }
    for (const std::vector<std::uint8_t>& others : {std::vector{key::kE}, std::vector{key::kControl, key::kE},
                                                    std::vector{key::kAlt, key::kControl, key::kShift, key::kE}})
        hands_->press(others);
    pressControlShiftE();
    EXPECT_EQ(program_->pressesSoon(++presses), presses);

    ASSERT_EQ(program_->take(kAltSuperE), Program::kTaken);
    pressControlShiftE();
    hands_->press({key::kSuper, key::kAlt, key::kE});
    EXPECT_EQ(program_->pressesSoon(++presses), presses);
    program_->giveUp();
    hands_->press({key::kSuper, key::kAlt, key::kE});
    ASSERT_EQ(program_->take(kControlShiftE), Program::kTaken);
    pressControlShiftE();
    EXPECT_EQ(program_->pressesSoon(++presses), presses) << "what was given up is not delivered";
}

TEST_F(X11HotKeyServiceTest, IsThatPlaceOnTheKeyboardInEveryLayout) {
    run("setxkbmap", {"-layout", "us,ru,fr", "-option", "grp:caps_toggle", "-option", "grp_led:scroll"});
    ASSERT_EQ(program_->take(kControlShiftE), Program::kTaken);
    for (int layout = 1; layout <= 3; ++layout) {
        pressControlShiftE();
        EXPECT_EQ(program_->pressesSoon(layout), layout);
        hands_->press({key::kCapsLock});
    }
}

TEST_F(X11HotKeyServiceTest, IsPressedOnceHoweverLongItIsHeld) {
    run("xset", {"r", "rate", "50", "100"});
    ASSERT_EQ(program_->take(kControlShiftE), Program::kTaken);
    const auto hold = [&] {
        for (const auto keycode : {key::kControl, key::kShift, key::kE}) hands_->hold(keycode);
    };
    hold();
    EXPECT_EQ(program_->pressesSoon(2, 300ms), 1) << "a repeat is no press";
    hands_->letGo(key::kControl);
    hands_->hold(key::kControl);
    EXPECT_EQ(program_->pressesSoon(2, 200ms), 1) << "another key was let go";
    hands_->letGo(key::kE);
    hands_->hold(key::kE);
    EXPECT_EQ(program_->pressesSoon(2), 2);
    hands_->letGo(key::kE);

    // Taken while it is held, as after recording it: the hand has to come off first, whether a repeat comes or not.
    for (const char* repeat : {"on", "off"}) {
        program_->giveUp();
        run("xset", {"r", repeat});
        hold();
        ASSERT_EQ(program_->take(kControlShiftE), Program::kTaken);
        const int before = program_->pressesSoon(0, 0ms);
        EXPECT_EQ(program_->pressesSoon(before + 1, 300ms), before) << "repeat " << repeat;
        hands_->letGo(key::kE);
        EXPECT_EQ(program_->pressesSoon(before + 1, 150ms), before);
        pressControlShiftE();
        EXPECT_EQ(program_->pressesSoon(before + 1), before + 1) << "repeat " << repeat;
    }
}

TEST_F(X11HotKeyServiceTest, IsRefusedWholeWhereAnotherProgramHasAnyPartOfIt) {
    const testing::XClient other(server().address());
    const auto otherTakes = [&](std::uint16_t modifiers) {
        return other.accepts(xcb_grab_key_checked(other.connection(), 0, other.root(), modifiers, key::kE,
                                                  XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_ASYNC));
    };
    constexpr std::uint16_t kPlain = XCB_MOD_MASK_CONTROL | XCB_MOD_MASK_SHIFT;
    for (const std::uint16_t lock : {std::uint16_t{0}, std::uint16_t{XCB_MOD_MASK_LOCK}}) {
        ASSERT_TRUE(otherTakes(kPlain | lock));
        EXPECT_EQ(program_->take(kControlShiftE), ErrorCode::Busy);
        EXPECT_TRUE(waitUntil([&] { return otherTakes(kPlain | (lock ^ XCB_MOD_MASK_LOCK)); })) << "the rest is free";
        xcb_ungrab_key(other.connection(), key::kE, other.root(), XCB_MOD_MASK_ANY);
        ASSERT_TRUE(otherTakes(XCB_MOD_MASK_1));
        EXPECT_EQ(program_->take(kControlShiftE), Program::kTaken) << "as soon as it is free";
        EXPECT_FALSE(otherTakes(kPlain | lock));
        program_->giveUp();
    }
    Program first(server().address());
    ASSERT_EQ(first.take(kControlShiftE), Program::kTaken);
    EXPECT_EQ(program_->take(kControlShiftE), ErrorCode::Busy);
}

TEST_F(X11HotKeyServiceTest, FollowsModifiersToOtherBits) {
    ASSERT_EQ(program_->take(kAltSuperE), Program::kTaken);
    int presses = 0;
    const auto press = [&] {
        hands_->press({key::kSuper, key::kAlt, key::kE});
        return program_->pressesSoon(++presses);
    };
    keyboardMapping({"clear mod2", "clear mod3", "add mod3 = Num_Lock"});
    program_->pressesSoon(-1, 100ms);
    hands_->press({key::kNumLock});
    EXPECT_EQ(press(), presses) << "Num Lock";
    keyboardMapping({"clear mod1", "clear mod4", "add mod4 = Alt_L", "add mod1 = Super_L"});
    program_->pressesSoon(-1, 100ms);
    EXPECT_EQ(press(), presses) << "Alt and Super";

    ::testing::internal::CaptureStderr();
    keyboardMapping({"clear mod1"});
    program_->pressesSoon(-1, 100ms);
    EXPECT_EQ(::testing::internal::GetCapturedStderr(),
              "dravo: the shortcut does not work any more: this keyboard has no such modifier\n");
    EXPECT_EQ(Program(server().address()).take(kAltSuperE), ErrorCode::Unsupported);
    keyboardMapping({"add mod1 = Super_L"});
    program_->pressesSoon(-1, 100ms);
    EXPECT_EQ(press(), presses) << "it is back";
}

TEST_F(X11HotKeyServiceTest, MayBeReplacedByItsOwnPress) {
    ASSERT_EQ(program_->take(kControlShiftE), Program::kTaken);
    program_->onPress = [&] { EXPECT_EQ(program_->take(kAltSuperE), Program::kTaken); };
    pressControlShiftE();
    EXPECT_EQ(program_->pressesSoon(1), 1);
    program_->onPress = [&] { program_->giveUp(); };
    hands_->press({key::kSuper, key::kAlt, key::kE});
    EXPECT_EQ(program_->pressesSoon(2), 2);
}

TEST_F(X11HotKeyServiceTest, KnowsNoKeyBeyondTheKeyboard) {
    for (const std::uint32_t keyCode : {200U, 55U, 0xffffffffU})
        EXPECT_EQ(program_->take({keyCode, 0x1000}), ErrorCode::Unsupported) << keyCode;
}

TEST_F(X11HotKeyServiceTest, SurvivesTheServer) {
    EXPECT_EQ(Program(":9999").take(kControlShiftE), ErrorCode::Disconnected);
    ASSERT_EQ(program_->take(kControlShiftE), Program::kTaken);
    hands_.reset();
    server().kill();
    program_->pressesSoon(-1, 100ms);
    program_->giveUp();
}

}  // namespace
}  // namespace dravo::x11
