#include "app/examination.h"

#include <gtest/gtest.h>

#include <optional>

#include "app/keyboard_shortcut.h"
#include "app/keyboard_shortcut_manager.h"
#include "support/memory/memory_services.h"
#include "support/memory/memory_user_defaults.h"
#include "support/memory/virtual_scheduler.h"

namespace dravo::testing {
namespace {

using namespace std::chrono_literals;

constexpr TextKey kBroken = textKey("it is broken");

class ExaminationTest : public ::testing::Test {
protected:
    /// Several reports, at once.
    static Subscription tellOfTwo(const Examination::Told& told) {
        told({{kDisplayPort, "DP-1", {"x11"}}, {kDisplayPort, "DP-2", {{}, Sentence{kBroken}}}});
        return {};
    }

    memory::VirtualScheduler scheduler;
    memory::MemoryLoginItem working;
    memory::MemoryLoginItem broken;
    memory::MemoryLoginItem hanging;
    Examination examination{scheduler,
                            {{kDisplaysPort, tellOfTwo},
                             askWhether(kTrayPort, hanging),
                             askWhether(kLoginPort, working),
                             askWhether(kWakePort, broken)}};
    std::optional<Examination::Reports> told;
    int times = 0;
    Examination::Told keep = [this](const Examination::Reports& reports) {
        told = reports;
        ++times;
    };
};

TEST_F(ExaminationTest, PutsTheAnswersInOrderAndWaitsForNobodyThatHangs) {
    broken.finding = {{}, Sentence{kBroken}, Sentence{textKey("Mend it")}, "mend"};
    hanging.hangs = true;
    const auto run = examination.run(keep);
    EXPECT_FALSE(told) << "answers come from the loop";
    scheduler.advance(Examination::kPatience - 1ms);
    EXPECT_FALSE(told);
    scheduler.advance(1ms);
    ASSERT_TRUE(told);
    const Examination::Reports expected{{kDisplayPort, "DP-1", {"x11"}},
                                        {kDisplayPort, "DP-2", {{}, Sentence{kBroken}}},
                                        {kTrayPort, {}, {{}, Sentence{textKey("it does not answer")}}},
                                        {kLoginPort, {}, {"memory"}},
                                        {kWakePort, {}, broken.finding}};
    EXPECT_EQ(*told, expected);
    scheduler.advance(1h);
    EXPECT_EQ(times, 1);
}

TEST_F(ExaminationTest, IsDoneWithTheLastAnswerAndTellsNobodyWhoHasLeft) {
    const auto one = examination.run(keep);
    auto other = examination.run(keep);
    other.reset();
    scheduler.advance(0ms);
    EXPECT_EQ(times, 1);
}

TEST_F(ExaminationTest, AShortcutThatAnotherProgramHasDoesNotWorkWhileItIsWanted) {
    memory::MemoryUserDefaults defaults;
    PreferencesStore preferences(defaults);
    memory::MemoryHotKeys keys;
    keys.takenByOthers = {{kDefaultShortcutKeyCode, kDefaultShortcutModifiers}};
    KeyboardShortcutManager manager(keys, preferences, scheduler);
    const auto works = [&] {
        bool found = false;
        const auto asked = manager.probe([&](const Finding& finding) { found = finding.works(); });
        return found;
    };
    manager.registerIfEnabled();
    EXPECT_FALSE(works());
    manager.setEnabled(false);
    EXPECT_TRUE(works());
}

}  // namespace
}  // namespace dravo::testing
