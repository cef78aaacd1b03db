#include "platform/posix/sd_event_loop.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <array>
#include <optional>
#include <string>
#include <vector>

namespace dravo::posix {
namespace {

using namespace std::chrono_literals;

TEST(SdEventLoopTest, RunsWhatWasPostedAndTimedBeforeItRan) {
    SdEventLoop loop;
    std::string log;
    const auto slow = loop.after(20ms, [&] {
        log += "c";
        loop.quit(7);
        loop.quit(0);  // the first code counts
    });
    const auto fast = loop.after(1ms, [&] { log += "b"; });
    const auto never = loop.after(1h, [&] { log += "x"; });
    loop.post([&] { log += "a"; });
    EXPECT_EQ(loop.run(), 7);
    EXPECT_EQ(log, "abc");
}

TEST(SdEventLoopTest, ServesNothingOnceItWasToldToQuit) {
    SdEventLoop loop;
    std::string log;
    std::optional<Timer> late;
    loop.post([&] {
        loop.post([&] { log += "p"; });
        late = loop.after(0ms, [&] { log += "t"; });
        usleep(2'000);
        loop.quit(0);
    });
    loop.post([&] { log += "q"; });
    loop.run();
    EXPECT_EQ(log, "");
}

TEST(SdEventLoopTest, PostsFromCallbacksRunInTheNextTurnAndDroppedTimersNever) {
    SdEventLoop loop;
    std::string log;
    std::optional<Timer> victim;
    loop.post([&] {
        log += "1";
        victim = loop.after(0ms, [&] { log += "x"; });
        loop.post([&] {
            log += "2";
            victim.reset();
        });
    });
    const auto end = loop.after(20ms, [&] { loop.quit(0); });
    loop.run();
    EXPECT_TRUE(log == "12" || log == "1x2") << log;
}

TEST(SdEventLoopTest, RepeatsATimerWithoutDriftAndMakesUpMissedTicksByOne) {
    SdEventLoop loop;
    const auto start = loop.steadyNow();
    std::vector<Duration> ticks;
    const auto timer = loop.every(10ms, [&] {
        ticks.push_back(loop.steadyNow() - start);
        if (ticks.size() == 2) usleep(35'000);  // stuck over three ticks
        if (ticks.size() == 4) loop.quit(0);
    });
    loop.run();
    ASSERT_EQ(ticks.size(), 4u);
    for (const auto tick : ticks) EXPECT_GE(tick, 10ms);
    // 10, 20, one for the missed 30, 40 and 50, then the rhythm of the first again.
    EXPECT_GE(ticks[2], 55ms);
    EXPECT_GE(ticks[3], 60ms);
}

TEST(SdEventLoopTest, TellsWhenADescriptorHasInputUntilTheWatchEnds) {
    SdEventLoop loop;
    std::array<int, 2> pipe{};
    ASSERT_EQ(::pipe(pipe.data()), 0);
    int heard = 0;
    Subscription watch;
    watch = loop.whenReadable(pipe[0], [&] {
        char byte = 0;
        ASSERT_EQ(read(pipe[0], &byte, 1), 1);
        if (++heard == 2) watch.reset();  // a third byte is still waiting
    });
    ASSERT_EQ(write(pipe[1], "abc", 3), 3);
    const auto end = loop.after(20ms, [&] { loop.quit(0); });
    loop.run();
    EXPECT_EQ(heard, 2);
    close(pipe[0]);
    close(pipe[1]);
}

}  // namespace
}  // namespace dravo::posix
