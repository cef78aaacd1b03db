#include "platform/posix/background_sync.h"

#include <gtest/gtest.h>

#include <fstream>

#include "support/temporary_folder.h"

namespace dravo::posix {
namespace {

// Whether a sync reached the disk cannot be seen; that requests from the main thread meet the worker in any of its
// states can, under the thread sanitizer.
TEST(BackgroundSyncTest, TakesRequestsWhileItWorksAndAfterItHasRested) {
    testing::TemporaryFolder folder;
    BackgroundSync background;
    for (int round = 0; round < 200; ++round) {
        const auto path = folder / ("file" + std::to_string(round % 3));
        std::ofstream(path) << round;
        background.sync(path);
        if (round % 50 == 0) background.sync(folder / "no such file");
        if (round % 20 == 0) std::this_thread::yield();
    }
}

}  // namespace
}  // namespace dravo::posix
