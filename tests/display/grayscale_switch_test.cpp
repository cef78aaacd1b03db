#include "display/grayscale_switch.h"

#include <gtest/gtest.h>

#include "support/memory/memory_services.h"

namespace dravo {
namespace {

TEST(GrayscaleSwitchTest, UndoesOnlyWhatItSwitchedOn) {
    memory::MemoryGrayscale desktop;
    GrayscaleSwitch grayscale(desktop);
    grayscale.set(true);
    EXPECT_TRUE(desktop.isGray);
    grayscale.set(false);
    EXPECT_FALSE(desktop.isGray);

    desktop.isGray = true;
    grayscale.set(true);
    grayscale.set(false);
    EXPECT_TRUE(desktop.isGray) << "the person's own choice";
}

TEST(GrayscaleSwitchTest, SuccessorUndoesWhatItsPredecessorSwitchedOn) {
    memory::MemoryGrayscale desktop;
    GrayscaleSwitch before(desktop);
    before.set(true);
    EXPECT_TRUE(before.isOurs());
    GrayscaleSwitch successor(desktop);
    successor.takeOver();
    successor.set(true);
    EXPECT_TRUE(desktop.isGray);
    successor.set(false);
    EXPECT_FALSE(desktop.isGray);
}

TEST(GrayscaleSwitchTest, SpendsNothingOnEqualRequests) {
    memory::MemoryGrayscale desktop;
    GrayscaleSwitch grayscale(desktop);
    grayscale.set(false);
    EXPECT_EQ(desktop.calls, 0);
    grayscale.set(true);
    const int calls = desktop.calls;
    for (int i = 0; i < 20; ++i) grayscale.set(true);
    EXPECT_EQ(desktop.calls, calls);
}

TEST(GrayscaleSwitchTest, AsksAgainAfterARefusalButOnceWhereThereIsNoSuchMode) {
    memory::MemoryGrayscale desktop;
    GrayscaleSwitch grayscale(desktop);
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
    GrayscaleSwitch nothing(plain);
    nothing.set(true);
    nothing.set(true);
    EXPECT_EQ(plain.calls, 1);
}

}  // namespace
}  // namespace dravo
