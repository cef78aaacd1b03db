#include "app/shortcut_recorder.h"

#include <gtest/gtest.h>

#include <chrono>
#include <optional>

#include "app/keyboard_shortcut.h"
#include "support/memory/memory_hot_keys.h"
#include "support/memory/memory_user_defaults.h"
#include "support/memory/virtual_scheduler.h"

namespace dravo {
namespace {

using namespace std::chrono_literals;

constexpr HotKey kDefault{14, 4608};
constexpr HotKey kOther{40, 2304};

/// The manager of the shortcut, and a recorder on it.
class ShortcutTest : public ::testing::Test {
protected:
    ShortcutTest() {
        manager_->onToggle = [this] { ++toggles_; };
        recorder_.emplace(*manager_, preferences_, scheduler_);
    }

    void store(HotKey hotKey) { preferences_.setShortcut(hotKey.keyCode, hotKey.modifiers); }
    HotKey stored() const {
        return {static_cast<std::uint32_t>(preferences_.shortcutKeyCode()),
                static_cast<std::uint32_t>(preferences_.shortcutModifiers())};
    }

    memory::VirtualScheduler scheduler_;
    memory::MemoryUserDefaults defaults_;
    PreferencesStore preferences_{defaults_};
    memory::MemoryHotKeys desktop_;
    std::optional<KeyboardShortcutManager> manager_{std::in_place, desktop_, preferences_, scheduler_};
    std::optional<ShortcutRecorder> recorder_;
    int toggles_ = 0;
};

using KeyboardShortcutManagerTest = ShortcutTest;
using ShortcutRecorderTest = ShortcutTest;

TEST_F(KeyboardShortcutManagerTest, TogglesOnceForEachPressAndNeverInsideIt) {
    ASSERT_TRUE(manager_->registerHotKey());
    EXPECT_EQ(desktop_.registered, kDefault);
    desktop_.press(kDefault);
    desktop_.press(kDefault);
    EXPECT_EQ(toggles_, 0);
    scheduler_.runPosted();
    EXPECT_EQ(toggles_, 2);
}

TEST_F(KeyboardShortcutManagerTest, RegistersWhatIsStoredAndOnlyWhatIsEnabled) {
    manager_->registerIfEnabled();
    EXPECT_EQ(desktop_.registered, kDefault);
    manager_->setEnabled(false);
    EXPECT_FALSE(desktop_.registered);
    EXPECT_FALSE(preferences_.shortcutEnabled());
    store(kOther);
    manager_->registerIfEnabled();
    EXPECT_FALSE(desktop_.registered);
    manager_->setEnabled(true);
    EXPECT_EQ(desktop_.registered, kOther);

    int announced = 0;
    const auto subscription = preferences_.changes().onWillChange([&] { ++announced; });
    manager_->resetToDefault();
    EXPECT_EQ(desktop_.registered, kDefault);
    EXPECT_EQ(announced, 2) << "before each of the two values";
    manager_->setEnabled(false);
    store(kOther);
    manager_->resetToDefault();
    EXPECT_EQ(stored(), kDefault);
    EXPECT_FALSE(desktop_.registered);
}

TEST_F(KeyboardShortcutManagerTest, KeepsTheStoredShortcutWhenItIsRefused) {
    manager_->registerIfEnabled();
    desktop_.takenByOthers = {kOther};
    store(kOther);
    ::testing::internal::CaptureStderr();
    manager_->registerIfEnabled();
    manager_->registerIfEnabled();
    EXPECT_EQ(::testing::internal::GetCapturedStderr(),
              "dravo: the shortcut Alt Super K does not work: another program has it\n");
    EXPECT_FALSE(desktop_.registered) << "nor the one before";
    EXPECT_EQ(stored(), kOther);

    for (const std::int64_t beyond : {std::int64_t{-1}, (std::int64_t{1} << 32) + 14}) {
        preferences_.setShortcut(beyond, 4608);
        EXPECT_FALSE(manager_->registerHotKey()) << beyond;
        preferences_.setShortcut(14, beyond);
        EXPECT_FALSE(manager_->registerHotKey()) << beyond;
    }
}

TEST_F(KeyboardShortcutManagerTest, FollowsAnEditOfTheStoredShortcut) {
    manager_->registerIfEnabled();
    defaults_.replaceFromOutside({{"shortcutKeyCode", std::int64_t{40}}, {"shortcutModifiers", std::int64_t{2304}}});
    EXPECT_EQ(desktop_.registered, kOther);
    const int registrations = desktop_.registrations;
    DefaultsValues values = defaults_.values();
    values["lastIntensity"] = 0.5;
    defaults_.replaceFromOutside(values);
    EXPECT_EQ(desktop_.registrations, registrations) << "another key changed";
    values["shortcutEnabled"] = false;
    defaults_.replaceFromOutside(values);
    EXPECT_FALSE(desktop_.registered);
}

TEST_F(KeyboardShortcutManagerTest, LeavesNothingBehind) {
    manager_->registerIfEnabled();
    desktop_.press(kDefault);
    recorder_.reset();
    manager_.reset();
    EXPECT_FALSE(desktop_.registered);
    scheduler_.runPosted();
    EXPECT_EQ(toggles_, 0);
}

TEST_F(ShortcutRecorderTest, RecordsTheFirstCombinationThatMayBeRecorded) {
    manager_->registerIfEnabled();
    const struct {
        HotKey pressed;
        bool isRecorded;
    } rows[] = {
        {{0, 512}, false},            // Shift alone would take away a letter
        {{14, 0}, false},             //
        {{12, 256}, false},           // what ends programs
        {{13, 256}, false},           // and closes windows
        {{12, 768}, false},           //
        {{13, 768}, true},            //
        {{12, 4352}, true},           //
        {{40, 2304}, true},           //
        {{49, 4096 + 0x10000}, true}  // bits of no modifier are dropped
    };
    for (const auto& row : rows) {
        store(kDefault);
        recorder_->startRecording();
        EXPECT_EQ(recorder_->notice(), "Press shortcut…");
        EXPECT_FALSE(desktop_.registered) << "the present shortcut can be pressed";
        recorder_->keyDown(row.pressed.keyCode, row.pressed.modifiers);
        EXPECT_EQ(recorder_->isRecording(), !row.isRecorded) << row.pressed.keyCode << ' ' << row.pressed.modifiers;
        const HotKey kept{row.pressed.keyCode, row.pressed.modifiers & 0x1b00};
        EXPECT_EQ(stored(), row.isRecorded ? kept : kDefault);
        recorder_->cancel();
        EXPECT_EQ(desktop_.registered, stored());
    }
    recorder_->keyDown(40, 2304);
    EXPECT_EQ(stored(), (HotKey{49, 4096})) << "a key while nothing is recorded";
}

TEST_F(ShortcutRecorderTest, KeepsTheShortcutOnEscapeAndWhenItGoes) {
    manager_->registerIfEnabled();
    const int writes = defaults_.writes();
    for (const std::int64_t modifiers : {0, 4096, 6912}) {
        recorder_->startRecording();
        recorder_->keyDown(kEscapeKeyCode, modifiers);
        EXPECT_FALSE(recorder_->isRecording());
        EXPECT_EQ(desktop_.registered, kDefault);
    }
    recorder_->startRecording();
    recorder_->startRecording();
    recorder_.reset();
    EXPECT_EQ(desktop_.registered, kDefault);
    EXPECT_EQ(defaults_.writes(), writes);
}

TEST_F(ShortcutRecorderTest, AnEditFromOutsideWaitsForTheEndOfARecording) {
    manager_->registerIfEnabled();
    recorder_->startRecording();
    defaults_.replaceFromOutside({{"shortcutKeyCode", std::int64_t{40}}, {"shortcutModifiers", std::int64_t{2304}}});
    EXPECT_FALSE(desktop_.registered) << "what is pressed now is recorded";
    recorder_->cancel();
    EXPECT_EQ(desktop_.registered, kOther);
    defaults_.replaceFromOutside({});
    EXPECT_EQ(desktop_.registered, kDefault) << "and follows the next one";
}

TEST_F(ShortcutRecorderTest, StoresWithoutRegisteringWhileTheShortcutIsOff) {
    manager_->setEnabled(false);
    desktop_.takenByOthers = {kOther};
    recorder_->startRecording();
    recorder_->cancel();
    EXPECT_FALSE(desktop_.registered);
    recorder_->startRecording();
    recorder_->keyDown(kOther.keyCode, kOther.modifiers);
    EXPECT_EQ(stored(), kOther);
    EXPECT_FALSE(desktop_.registered);
    EXPECT_FALSE(recorder_->isShowingUnavailable());
}

TEST_F(ShortcutRecorderTest, GoesBackWhenAnotherProgramHasIt) {
    manager_->registerIfEnabled();
    desktop_.takenByOthers = {kOther};
    int announced = 0;
    const auto subscription = recorder_->changes().onWillChange([&] { ++announced; });
    recorder_->startRecording();
    recorder_->keyDown(kOther.keyCode, kOther.modifiers);
    EXPECT_EQ(stored(), kDefault);
    EXPECT_EQ(desktop_.registered, kDefault);
    EXPECT_EQ(recorder_->notice(), "Shortcut unavailable");
    EXPECT_EQ(announced, 3);
    scheduler_.advance(1599ms);
    EXPECT_TRUE(recorder_->isShowingUnavailable());
    scheduler_.advance(1ms);
    EXPECT_EQ(recorder_->notice(), "");
    EXPECT_EQ(announced, 4);
}

TEST_F(ShortcutRecorderTest, SaysUnavailableAnewForEachRefusal) {
    desktop_.takenByOthers = {kOther};
    const auto refuse = [&] {
        recorder_->startRecording();
        EXPECT_EQ(recorder_->notice(), "Press shortcut…");
        recorder_->keyDown(kOther.keyCode, kOther.modifiers);
    };
    refuse();
    scheduler_.advance(1s);
    refuse();
    scheduler_.advance(1s);
    EXPECT_TRUE(recorder_->isShowingUnavailable()) << "the first one's time is over, not the second one's";
    recorder_.reset();
    scheduler_.advance(1s);
}

}  // namespace
}  // namespace dravo
