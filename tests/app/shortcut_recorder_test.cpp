#include "app/shortcut_recorder.h"

#include <gtest/gtest.h>

#include <chrono>
#include <optional>

#include "app/keyboard_shortcut.h"
#include "support/memory/memory_services.h"
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

    void record(HotKey hotKey) {
        recorder_->startRecording();
        EXPECT_EQ(recorder_->notice(), "Press shortcut…");
        EXPECT_FALSE(desktop_.registered) << "the present shortcut can be pressed";
        recorder_->keyDown(hotKey.keyCode, hotKey.modifiers);
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

TEST_F(ShortcutTest, TogglesOnceForEachPressNeverInsideItAndLeavesNothingBehind) {
    ASSERT_TRUE(manager_->registerHotKey());
    desktop_.press(kDefault);
    desktop_.press(kDefault);
    EXPECT_EQ(toggles_, 0);
    scheduler_.runPosted();
    EXPECT_EQ(toggles_, 2);
    desktop_.press(kDefault);
    recorder_.reset();
    manager_.reset();
    EXPECT_FALSE(desktop_.registered);
    scheduler_.runPosted();
    EXPECT_EQ(toggles_, 2);
}

TEST_F(ShortcutTest, RegistersWhatIsStoredAndOnlyWhatIsEnabled) {
    manager_->registerIfEnabled();
    EXPECT_EQ(desktop_.registered, kDefault);
    manager_->setEnabled(false);
    EXPECT_FALSE(desktop_.registered);
    desktop_.takenByOthers = {kOther};
    record(kOther);
    EXPECT_EQ(stored(), kOther);
    EXPECT_FALSE(desktop_.registered);
    EXPECT_EQ(recorder_->notice(), "");
    desktop_.takenByOthers.clear();
    manager_->setEnabled(true);
    EXPECT_EQ(desktop_.registered, kOther);
    manager_->resetToDefault();
    EXPECT_EQ(desktop_.registered, kDefault);
}

TEST_F(ShortcutTest, KeepsTheStoredShortcutWhenItIsRefused) {
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

TEST_F(ShortcutTest, FollowsAnEditOfTheStoredShortcutOnceNothingIsRecorded) {
    manager_->registerIfEnabled();
    recorder_->startRecording();
    DefaultsValues values{{"shortcutKeyCode", std::int64_t{40}}, {"shortcutModifiers", std::int64_t{2304}}};
    defaults_.replaceFromOutside(values);
    EXPECT_FALSE(desktop_.registered) << "what is pressed now is recorded";
    recorder_->cancel();
    EXPECT_EQ(desktop_.registered, kOther);
    const int registrations = desktop_.registrations;
    values["lastIntensity"] = 0.5;
    defaults_.replaceFromOutside(values);
    EXPECT_EQ(desktop_.registrations, registrations) << "another key changed";
    values["shortcutEnabled"] = false;
    defaults_.replaceFromOutside(values);
    EXPECT_FALSE(desktop_.registered);
    defaults_.replaceFromOutside({});
    EXPECT_EQ(desktop_.registered, kDefault);
}

TEST_F(ShortcutTest, RecordsTheFirstCombinationThatMayBeRecorded) {
    manager_->registerIfEnabled();
    const struct {
        HotKey pressed;
        bool isRecorded;
    } rows[] = {
        {{0, 512}, false},            // Shift alone would take away a letter
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
        record(row.pressed);
        EXPECT_EQ(recorder_->isRecording(), !row.isRecorded) << row.pressed.keyCode << ' ' << row.pressed.modifiers;
        const HotKey kept{row.pressed.keyCode, row.pressed.modifiers & 0x1b00};
        EXPECT_EQ(stored(), row.isRecorded ? kept : kDefault);
        recorder_->cancel();
        EXPECT_EQ(desktop_.registered, stored());
    }
    recorder_->keyDown(40, 2304);
    EXPECT_EQ(stored(), (HotKey{49, 4096})) << "a key while nothing is recorded";
}

TEST_F(ShortcutTest, KeepsTheShortcutOnEscapeAndWhenTheRecorderGoes) {
    manager_->registerIfEnabled();
    const int writes = defaults_.writes();
    record({kEscapeKeyCode, 4096});
    EXPECT_FALSE(recorder_->isRecording());
    EXPECT_EQ(desktop_.registered, kDefault);
    recorder_->startRecording();
    recorder_.reset();
    EXPECT_EQ(desktop_.registered, kDefault);
    EXPECT_EQ(defaults_.writes(), writes);
}

TEST_F(ShortcutTest, GoesBackAndSaysSoForAWhileWhenAnotherProgramHasIt) {
    desktop_.takenByOthers = {kOther};
    for (int refusal = 0; refusal < 2; ++refusal) {
        scheduler_.advance(1s);  // the first one's time is not yet over
        record(kOther);
        EXPECT_EQ(stored(), kDefault);
        EXPECT_EQ(desktop_.registered, kDefault);
        EXPECT_EQ(recorder_->notice(), "Shortcut unavailable");
    }
    scheduler_.advance(1599ms);
    EXPECT_TRUE(recorder_->isShowingUnavailable());
    scheduler_.advance(1ms);
    EXPECT_EQ(recorder_->notice(), "");
    record(kOther);
    recorder_.reset();
    scheduler_.advance(2s);
}

}  // namespace
}  // namespace dravo
