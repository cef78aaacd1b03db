#include "platform/posix/background_sync.h"

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <unistd.h>

#include <fstream>

#include "platform/posix/replace_program.h"
#include "platform/posix/termination_guard.h"
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

/// Asks for threads where there can be none; ends with 0 if that only failed.
[[noreturn]] void askWithoutThreads() {
    // The limit does not bind root.
    constexpr uid_t kNobodyElse = 54321;
    constexpr rlimit kNone = {};
    if (setrlimit(RLIMIT_NPROC, &kNone) != 0 || (geteuid() == 0 && setuid(kNobodyElse) != 0)) _exit(1);
    BackgroundSync background;
    background.sync("/no such file");
    background.sync("/no such file either");
    letGoOfFileWatches();
    const auto guard = TerminationGuard::create([] { return true; }, [] {});
    _exit(!guard && guard.error().code == ErrorCode::Busy ? 0 : 2);
}

TEST(NoThreadTest, IsNoReasonToAbortWithATintOnScreen) {
    EXPECT_EXIT(askWithoutThreads(), ::testing::ExitedWithCode(0), "");
}

}  // namespace
}  // namespace dravo::posix
