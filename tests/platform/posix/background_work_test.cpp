#include "platform/posix/background_work.h"

#include <gtest/gtest.h>
#include <pthread.h>

#include <csignal>
#include <future>
#include <string>

#include "platform/posix/sd_event_loop.h"

namespace dravo::posix {
namespace {

class BackgroundWorkTest : public ::testing::Test {
protected:
    SdEventLoop loop_;
    std::unique_ptr<BackgroundWork> work_;
};

TEST_F(BackgroundWorkTest, ItsEndIsToldFromTheLoopWithAllItWroteInPlace) {
    std::string written;
    std::thread::id worker;
    auto started = BackgroundWork::start(
        loop_,
        [&] {
            worker = std::this_thread::get_id();
            written = "by the worker";
        },
        [&] {
            EXPECT_EQ(written, "by the worker");
            EXPECT_NE(worker, std::this_thread::get_id());
            work_.reset();  // from inside its own callback
            loop_.quit(0);
        });
    ASSERT_TRUE(started);
    work_ = std::move(*started);
    loop_.run();
    EXPECT_FALSE(work_);
}

TEST_F(BackgroundWorkTest, TheLoopRunsOnMeanwhileAndItTakesNoSignals) {
    std::promise<void> release;
    sigset_t blocked;
    auto started = BackgroundWork::start(
        loop_,
        [&] {
            pthread_sigmask(SIG_SETMASK, nullptr, &blocked);
            release.get_future().wait();
        },
        [&] { loop_.quit(0); });
    ASSERT_TRUE(started);
    loop_.post([&] { release.set_value(); });
    loop_.run();
    for (const int signal : {SIGTERM, SIGUSR1, SIGCHLD}) EXPECT_TRUE(sigismember(&blocked, signal)) << signal;
    sigset_t ours;
    pthread_sigmask(SIG_SETMASK, nullptr, &ours);
    EXPECT_FALSE(sigismember(&ours, SIGCHLD));
}

TEST_F(BackgroundWorkTest, DestroyedItWaitsAndTellsNobody) {
    bool isThrough = false;
    bool isTold = false;
    {
        const auto started = BackgroundWork::start(
            loop_, [&] { isThrough = true; }, [&] { isTold = true; });
        ASSERT_TRUE(started);
    }
    EXPECT_TRUE(isThrough);
    loop_.post([&] { loop_.quit(0); });
    loop_.run();
    EXPECT_FALSE(isTold);
}

}  // namespace
}  // namespace dravo::posix
