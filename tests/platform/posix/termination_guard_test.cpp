#include "platform/posix/termination_guard.h"

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <chrono>
#include <csignal>
#include <functional>

namespace dravo::posix {
namespace {

struct Ending {
    int status = 0;
    std::string log;  ///< What the child wrote before it ended.
};

// Runs `program` in a child under a guard whose restore writes "R", sends it `signals` once it has written "+", and
// waits for its end. A guard that does not end the child would hang the test, so the child has an alarm.
Ending endByGuard(std::initializer_list<int> signals, const std::function<void(TerminationGuard&, int log)>& program,
                  TerminationGuard::Found found = TerminationGuard::Found::theirOwn) {
    std::array<int, 2> log{};
    if (pipe(log.data()) != 0) return {};
    const pid_t child = fork();
    if (child == 0) {
        alarm(20);
        constexpr rlimit kNoCore = {};
        setrlimit(RLIMIT_CORE, &kNoCore);
        std::signal(SIGINT, SIG_IGN);  // as a shell starts its background jobs
        TerminationGuard::blockSignals();
        const auto say = [&](const char* word) { return write(log[1], word, 1) == 1; };
        TerminationGuard guard([&] { say("P"); }, [&] { say("R"); }, found);
        guard.waitUntilReady();
        say("+");
        program(guard, log[1]);
        _exit(0);
    }
    close(log[1]);
    Ending ending;
    bool signalled = false;
    char letter = 0;
    while (read(log[0], &letter, 1) == 1) {
        ending.log += letter;
        if (letter != '+' || signalled) continue;
        signalled = true;
        for (const int signal : signals) kill(child, signal);
    }
    close(log[0]);
    waitpid(child, &ending.status, 0);
    return ending;
}

class TerminationGuardTest : public ::testing::TestWithParam<int> {};

TEST_P(TerminationGuardTest, RestoresOnceAndEndsByThatSignalWhileTheMainThreadSleeps) {
    const auto ending = endByGuard({GetParam()}, [](TerminationGuard&, int) {
        for (;;) pause();
    });
    EXPECT_EQ(ending.log, "P+R");
    ASSERT_TRUE(WIFSIGNALED(ending.status));
    EXPECT_EQ(WTERMSIG(ending.status), GetParam());
}

TEST_P(TerminationGuardTest, RestoresWhileTheMainThreadSpins) {
    const auto ending = endByGuard({GetParam()}, [](TerminationGuard& guard, int) {
        while (!guard.isEnding()) {
        }
        guard.standStillIfEnding();
        _exit(42);  // not reached: the main thread stands still until the signal ends the process
    });
    EXPECT_EQ(ending.log, "P+R");
    ASSERT_TRUE(WIFSIGNALED(ending.status));
    EXPECT_EQ(WTERMSIG(ending.status), GetParam());
}

INSTANTIATE_TEST_SUITE_P(Signals, TerminationGuardTest, ::testing::Values(SIGTERM, SIGINT, SIGHUP, SIGQUIT),
                         [](const auto& signal) { return std::string("Signal") + std::to_string(signal.param); });

TEST(TerminationGuardOrderTest, RestoresOnceForManySignals) {
    const auto ending = endByGuard({SIGTERM, SIGINT, SIGTERM, SIGHUP}, [](TerminationGuard&, int) {
        for (;;) pause();
    });
    EXPECT_EQ(ending.log, "P+R");
    EXPECT_TRUE(WIFSIGNALED(ending.status));
}

TEST(TerminationGuardOrderTest, LetsASignalWaitWhileTheProgramIsReplaced) {
    using Found = TerminationGuard::Found;
    const auto sendAndGoOn = [](int log, const std::function<void()>& goOn) {
        kill(getpid(), SIGTERM);
        if (write(log, "c", 1) == 1) goOn();
        for (;;) pause();
    };
    const auto before = endByGuard({}, [&](TerminationGuard& guard, int log) {
        guard.suspend();
        sendAndGoOn(log, [&] { guard.resume(); });
    });
    const auto after = endByGuard(
        {}, [&](TerminationGuard& guard, int log) { sendAndGoOn(log, [&] { guard.takeCharge(); }); }, Found::ours);
    for (const auto& ending : {before, after}) {
        EXPECT_EQ(ending.log, "P+cR");
        ASSERT_TRUE(WIFSIGNALED(ending.status));
        EXPECT_EQ(WTERMSIG(ending.status), SIGTERM);
    }
}

TEST(TerminationGuardOrderTest, EndsItsThreadQuietlyWhenTheProgramEndsByItself) {
    const auto ending = endByGuard({}, [](TerminationGuard&, int) {});
    EXPECT_EQ(ending.log, "P+");
    EXPECT_TRUE(WIFEXITED(ending.status));

    TerminationGuard::blockSignals();
    bool restored = false;
    {
        TerminationGuard guard([] {}, [&] { restored = true; });
    }
    EXPECT_FALSE(restored);
}

}  // namespace
}  // namespace dravo::posix
