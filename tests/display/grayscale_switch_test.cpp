#include "display/grayscale_switch.h"

#include <gtest/gtest.h>

#include "base/files.h"
#include "support/memory/memory_services.h"
#include "support/temporary_folder.h"

namespace dravo {
namespace {

class GrayscaleSwitchTest : public ::testing::Test {
protected:
    testing::TemporaryFolder home;
    OriginalGammaStore store{{home / ".dravo", {}}};
    memory::MemoryGrayscale desktop;
    GrayscaleSwitch grayscale{desktop, store};
};

TEST_F(GrayscaleSwitchTest, UndoesOnlyWhatItSwitchedOn) {
    grayscale.set(true);
    EXPECT_TRUE(desktop.isGray);
    grayscale.set(false);
    EXPECT_FALSE(desktop.isGray);

    desktop.isGray = true;
    grayscale.set(true);
    grayscale.set(false);
    EXPECT_TRUE(desktop.isGray) << "the person's own choice";
}

TEST_F(GrayscaleSwitchTest, LeavesALaterRunToKnowWhoseGrayItIs) {
    for (const bool isOurs : {true, false}) {
        static_cast<void>(store.saveIfAbsent({}));
        desktop.isGray = !isOurs;
        grayscale.set(true);
        OriginalGammaStore later({home / ".dravo", {}});
        later.restoreIfNeeded();
        GrayscaleSwitch(desktop, later).undoUncleanRun();
        EXPECT_EQ(desktop.isGray, !isOurs);
        grayscale.set(false);
    }
    // A file that cannot be understood says nothing: what is exactly ours is taken for ours.
    desktop.isGray = true;
    store.clear();
    ASSERT_TRUE(writeFileAtomically(home / ".dravo/original_gamma.json", "damaged"));
    OriginalGammaStore lost({home / ".dravo", {}});
    lost.restoreIfNeeded();
    GrayscaleSwitch(desktop, lost).undoUncleanRun();
    EXPECT_FALSE(desktop.isGray);
}

TEST_F(GrayscaleSwitchTest, SuccessorUndoesWhatItsPredecessorSwitchedOn) {
    grayscale.set(true);
    EXPECT_TRUE(grayscale.isOurs());
    GrayscaleSwitch successor(desktop, store);
    successor.takeOver();
    successor.set(true);
    EXPECT_TRUE(desktop.isGray);
    successor.set(false);
    EXPECT_FALSE(desktop.isGray);
}

TEST_F(GrayscaleSwitchTest, SwitchesNothingOnAfterTheEnd) {
    grayscale.set(true);
    grayscale.shutDown();
    EXPECT_FALSE(desktop.isGray);
    grayscale.set(true);
    EXPECT_FALSE(desktop.isGray);
}

TEST_F(GrayscaleSwitchTest, SpendsNothingOnEqualRequests) {
    grayscale.set(false);
    EXPECT_EQ(desktop.calls, 0);
    grayscale.set(true);
    const int calls = desktop.calls;
    for (int i = 0; i < 20; ++i) grayscale.set(true);
    EXPECT_EQ(desktop.calls, calls);
}

TEST_F(GrayscaleSwitchTest, AsksAgainAfterARefusalButOnceWhereThereIsNoSuchMode) {
    desktop.fails = Error{ErrorCode::Disconnected, "", 0};
    grayscale.set(true);
    desktop.fails.reset();
    grayscale.set(true);
    EXPECT_TRUE(desktop.isGray);
    desktop.fails = Error{ErrorCode::Disconnected, "", 0};
    grayscale.set(false);
    desktop.fails.reset();
    grayscale.set(false);
    EXPECT_FALSE(desktop.isGray);

    memory::MemoryGrayscale plain;
    plain.fails = Error{ErrorCode::Unsupported, "", 0};
    GrayscaleSwitch nothing(plain, store);
    nothing.set(true);
    nothing.set(true);
    EXPECT_EQ(plain.calls, 1);
}

}  // namespace
}  // namespace dravo
