#include <csignal>
#include <thread>

#include "desktop/filter_run_test.h"

namespace dravo::testing {
namespace {

class SecondStartTest : public FilterRunTest {
protected:
    /// Starts the program with these words, to its end. What it printed, on both outputs.
    std::string run(const char* words, ExitStatus expected) {
        const auto outcome =
            runProgram(home(), *words ? std::vector<std::string>{words} : std::vector<std::string>{}, onServer());
        EXPECT_EQ(outcome.status, expected) << words;
        return outcome.out + outcome.err;
    }
};

TEST_F(SecondStartTest, LeavesTheFirstOneAloneAndProtected) {
    const Run first = startAndSettle();
    const std::string saved = contentOf(savedTables());
    EXPECT_EQ(run("", ExitStatus::exited(4)),
              "dravo: Dravo is already running (process " + std::to_string(first->pid()) + ")\n");
    for (const char* const inTheBackground : {"--headless", "--autostart"})
        EXPECT_EQ(run(inTheBackground, ExitStatus::exited(0)), "Dravo is running already.\n");
    EXPECT_TRUE(isInCharge(*first));
    EXPECT_EQ(contentOf(savedTables()), saved);
    EXPECT_TRUE(allShow(filtered(kStrong)));

    first->signal(SIGTERM);
    EXPECT_EQ(first->waitForExit(), ExitStatus::killedBy(SIGTERM));
    EXPECT_EQ(tables(), ownTables());
    EXPECT_EQ(contentOf(savedTables()), saved);
}

TEST_F(SecondStartTest, RestoreAsksTheRunningOneToSwitchOff) {
    const Run running = startAndSettle();
    for (int again = 0; again < 2; ++again) {
        EXPECT_EQ(run("restore", ExitStatus::exited(0)), "The running Dravo has switched the filter off.\n");
        EXPECT_EQ(tables(), ownTables());
    }
    EXPECT_TRUE(isInCharge(*running));

    // Still there for whoever switches it on again.
    preferOther();
    EXPECT_TRUE(waitUntil([this] { return allShow(filtered(intensity())); }));
    quit(*running);
    EXPECT_EQ(tables(), ownTables());
}

TEST_F(SecondStartTest, RestoreSaysSoWhenTheRunningOneCannotSwitchOff) {
    const Run stuck = startAndSettle();
    server().freeze();
    EXPECT_EQ(run("restore", ExitStatus::exited(4)), "dravo restore: the running Dravo does not answer\n");
    server().thaw();
    EXPECT_TRUE(waitUntil([this] { return tables() == ownTables(); })) << "it was only late";
    quit(*stuck);

    // One that is refused by its display server, as far as anybody outside can tell.
    sigset_t asked;
    sigemptyset(&asked);
    for (const int signal : {SIGUSR1, SIGUSR2}) sigaddset(&asked, signal);
    pthread_sigmask(SIG_BLOCK, &asked, nullptr);
    const auto lock = posix::InstanceLock::acquire({home().path() / ".dravo", {}});
    ASSERT_TRUE(lock);
    std::thread refused([&] {
        int received = 0;
        sigwait(&asked, &received);
        lock->answer("the X server refused a table");
    });
    EXPECT_EQ(run("restore", ExitStatus::exited(4)),
              "dravo restore: the running Dravo cannot switch off: the X server refused a table\n");
    refused.join();
}

TEST_F(SecondStartTest, RestoreAfterAKillGivesBackWhatWasSavedAndThenFindsNothingToDo) {
    const Run killed = startAndSettle();
    displays().disable("DUMMY2");
    killHard(*killed);
    EXPECT_NE(run("restore", ExitStatus::exited(0)).find("DUMMY0: has its own table back, as saved"),
              std::string::npos);
    EXPECT_EQ(tables(), ownTables());
    EXPECT_TRUE(std::filesystem::exists(savedTables())) << "it may be all that is known of the absent display";
    displays().enable("DUMMY2", 2 * 1024);
    run("restore", ExitStatus::exited(0));
    EXPECT_EQ(tables(), ownTables());
    EXPECT_FALSE(std::filesystem::exists(savedTables()));

    EXPECT_NE(run("restore", ExitStatus::exited(0)).find("DUMMY0: has a neutral table"), std::string::npos);
}

}  // namespace
}  // namespace dravo::testing
