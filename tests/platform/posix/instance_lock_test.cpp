#include "platform/posix/instance_lock.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <filesystem>
#include <fstream>

#include "support/temporary_folder.h"

namespace dravo::posix {
namespace {

class InstanceLockTest : public ::testing::Test {
protected:
    // The lock is the process's, so every question comes from a child. Answers with the child's exit code.
    template <typename Question>
    static int askInChild(Question question) {
        const pid_t child = fork();
        if (child == 0) _exit(question());
        int status = 0;
        waitpid(child, &status, 0);
        return WEXITSTATUS(status);
    }

    /// A process that takes the lock and then does `whileHeld`, until it is killed. Its number, once it has the lock.
    template <typename Action>
    pid_t startHolder(Action whileHeld) {
        std::array<int, 2> ready{};
        if (pipe(ready.data()) != 0) return -1;
        const pid_t holder = fork();
        if (holder == 0) {
            const auto lock = InstanceLock::acquire(place());
            if (!lock || write(ready[1], "y", 1) != 1) _exit(1);
            whileHeld(*lock);
            for (;;) pause();
        }
        char held = 0;
        close(ready[1]);
        EXPECT_EQ(read(ready[0], &held, 1), 1);
        close(ready[0]);
        return holder;
    }
    static void killHard(pid_t holder) {
        kill(holder, SIGKILL);
        waitpid(holder, nullptr, 0);
    }

    DataFolder place() const { return {folder_ / "home", folder_ / "run"}; }
    dravo::testing::TemporaryFolder folder_;
};

TEST_F(InstanceLockTest, RefusesASecondRunAndNamesTheFirst) {
    const pid_t self = getpid();
    {
        const auto lock = InstanceLock::acquire(place());
        ASSERT_TRUE(lock.hasValue());
        EXPECT_EQ(askInChild([&] {
                      const auto second = InstanceLock::acquire(place());
                      return !second && second.error().code == ErrorCode::Busy && second.error().nativeCode == self ? 0
                                                                                                                    : 1;
                  }),
                  0);
        EXPECT_EQ(askInChild([&] { return InstanceLock::holder(place()) == self ? 0 : 1; }), 0);
    }
    EXPECT_EQ(askInChild([&] { return InstanceLock::holder(place()) == 0 && InstanceLock::acquire(place()) ? 0 : 1; }),
              0);
}

TEST_F(InstanceLockTest, IsFreeAgainAfterTheHolderWasKilled) {
    const pid_t holder = startHolder([](const auto&) {});
    EXPECT_EQ(InstanceLock::holder(place()), holder);
    killHard(holder);
    EXPECT_TRUE(InstanceLock::acquire(place()).hasValue());
}

TEST_F(InstanceLockTest, GoesToTheRuntimeFolderWhereTheHomeCannotHoldIt) {
    std::ofstream(folder_ / "home") << "a file in the folder's place";
    const pid_t self = getpid();
    const auto lock = InstanceLock::acquire(place());
    ASSERT_TRUE(lock.hasValue());
    EXPECT_TRUE(std::filesystem::exists(folder_ / "run/lock"));
    EXPECT_EQ(askInChild([&] { return InstanceLock::holder(place()) == self ? 0 : 1; }), 0);
}

TEST_F(InstanceLockTest, SaysWhyItCannotLock) {
    std::ofstream(folder_ / "home") << "a file";
    const auto nowhere = InstanceLock::acquire({folder_ / "home", {}});
    ASSERT_FALSE(nowhere.hasValue());
    EXPECT_NE(nowhere.error().message.find("home/lock"), std::string::npos);
}

TEST_F(InstanceLockTest, FollowsNoLinkPlantedUnderItsName) {
    std::filesystem::create_directories(folder_ / "home");
    ASSERT_EQ(symlink("elsewhere", (folder_ / "home/lock").c_str()), 0);
    EXPECT_FALSE(InstanceLock::acquire({folder_ / "home", {}}).hasValue());
    EXPECT_FALSE(std::filesystem::exists(folder_ / "home/elsewhere"));
}

TEST_F(InstanceLockTest, CarriesAnAnswerToWhoAskedBySignal) {
    using namespace std::chrono_literals;
    EXPECT_EQ(InstanceLock::ask(place(), SIGUSR1, 1s).error().code, ErrorCode::NotFound);
    sigset_t asked;
    sigemptyset(&asked);
    sigaddset(&asked, SIGUSR1);
    sigprocmask(SIG_BLOCK, &asked, nullptr);  // for the holder, which inherits it
    const pid_t holder = startHolder([&](const auto& lock) {
        int received = 0;
        sigwait(&asked, &received);
        lock.answer("off");
        sigwait(&asked, &received);  // and keeps silent the second time
    });
    sigprocmask(SIG_UNBLOCK, &asked, nullptr);
    const auto answer = InstanceLock::ask(place(), SIGUSR1, 10s);
    ASSERT_TRUE(answer.hasValue());
    EXPECT_EQ(*answer, "off");
    EXPECT_EQ(InstanceLock::ask(place(), SIGUSR1, 50ms).error().code, ErrorCode::Busy) << "the old answer counts not";
    killHard(holder);
}

}  // namespace
}  // namespace dravo::posix
