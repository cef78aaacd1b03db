#include "platform/posix/instance_lock.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <thread>

#include "platform/posix/termination_guard.h"
#include "support/temporary_folder.h"

namespace dravo::posix {
namespace {

using namespace std::chrono_literals;

class InstanceLockTest : public ::testing::Test {
protected:
    /// A process that takes the lock and then does `whileHeld`, until it is killed. Its number, once it has the lock.
    /// A run blocks our signals, a command does not.
    template <typename Action>
    pid_t startHolder(bool isRun, Action whileHeld) {
        std::array<int, 2> ready{};
        if (pipe(ready.data()) != 0) return -1;
        const pid_t holder = fork();
        if (holder == 0) {
            prctl(PR_SET_PDEATHSIG, SIGKILL);
            if (isRun) TerminationGuard::blockSignals();
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
    /// The signal that it died of: a holder that something else has ended before shows here.
    static int killHard(pid_t holder) {
        if (holder <= 0) return 0;
        kill(holder, SIGKILL);
        int status = 0;
        waitpid(holder, &status, 0);
        return WIFSIGNALED(status) ? WTERMSIG(status) : 0;
    }

    DataFolder place() const { return {folder_ / "home", folder_ / "run"}; }
    dravo::testing::TemporaryFolder folder_;
};

TEST_F(InstanceLockTest, RefusesASecondRunAndNamesTheFirstUntilThatIsKilled) {
    const pid_t first = startHolder(true, [](const auto&) {});
    EXPECT_EQ(InstanceLock::acquire(place()).error().code, ErrorCode::Busy);
    EXPECT_EQ(InstanceLock::acquire(place()).error().nativeCode, first);
    ASSERT_TRUE(InstanceLock::run(place()));
    EXPECT_EQ(InstanceLock::run(place())->number(), first);
    EXPECT_EQ(killHard(first), SIGKILL);
    EXPECT_FALSE(InstanceLock::run(place()) || InstanceLock::isHeld(place()));
    EXPECT_TRUE(InstanceLock::acquire(place()).hasValue());
}

TEST_F(InstanceLockTest, GoesToTheRuntimeFolderWhereTheHomeCannotHoldItOrSaysWhyNot) {
    std::ofstream(folder_ / "home") << "a file in the folder's place";
    {
        const auto lock = InstanceLock::acquire(place());
        ASSERT_TRUE(lock.hasValue());
        EXPECT_TRUE(std::filesystem::exists(folder_ / "run/lock"));
        // The lock is the process's, so only another one can ask.
        EXPECT_EXIT(_exit(InstanceLock::isHeld(place()) ? 0 : 1), ::testing::ExitedWithCode(0), "");
    }
    const auto nowhere = InstanceLock::acquire({folder_ / "home", {}});
    ASSERT_FALSE(nowhere.hasValue());
    EXPECT_NE(inEnglish(nowhere.error().message).find("home/lock"), std::string::npos);
}

TEST_F(InstanceLockTest, FollowsNoLinkPlantedUnderItsName) {
    std::filesystem::create_directories(folder_ / "home");
    ASSERT_EQ(symlink("elsewhere", (folder_ / "home/lock").c_str()), 0);
    EXPECT_FALSE(InstanceLock::acquire({folder_ / "home", {}}).hasValue());
    EXPECT_FALSE(std::filesystem::exists(folder_ / "home/elsewhere"));
}

TEST_F(InstanceLockTest, CarriesAnAnswerToWhoAskedBySignal) {
    const pid_t holder = startHolder(true, [&](const auto& lock) {
        std::thread([&] {
            sigset_t asked;
            sigemptyset(&asked);
            sigaddset(&asked, SIGUSR1);
            int received = 0;
            sigwait(&asked, &received);
            lock.answer("off");
            sigwait(&asked, &received);  // and keeps silent the second time
            sigwait(&asked, &received);
            _exit(0);
        }).join();
    });
    const auto run = InstanceLock::run(place());
    ASSERT_TRUE(run);
    const auto answer = run->ask(SIGUSR1, 10s);
    ASSERT_TRUE(answer.hasValue());
    EXPECT_EQ(*answer, "off");
    EXPECT_EQ(run->ask(SIGUSR1, 50ms).error().code, ErrorCode::Busy) << "the old answer counts not";
    EXPECT_EQ(run->ask(SIGUSR1, 10s).error().code, ErrorCode::NotFound) << "it ends instead";
    killHard(holder);
}

TEST_F(InstanceLockTest, SignalsNobodyButARun) {
    const pid_t command = startHolder(false, [](const auto&) {});
    EXPECT_TRUE(InstanceLock::isHeld(place()));
    EXPECT_FALSE(InstanceLock::run(place())) << "it would die of the signal";
    std::thread end([&] {
        std::this_thread::sleep_for(50ms);
        EXPECT_EQ(killHard(command), SIGKILL);
    });
    EXPECT_TRUE(InstanceLock::acquire(place()).hasValue()) << "a command soon lets go";
    end.join();

    // As a network home's lock, this one has no process: its number is -1, which means everybody.
    const int file = open((folder_ / "home/lock").c_str(), O_RDWR | O_CLOEXEC);
    struct flock lock = {};
    lock.l_type = F_WRLCK;
    ASSERT_EQ(fcntl(file, F_OFD_SETLK, &lock), 0);
    EXPECT_TRUE(InstanceLock::isHeld(place()));
    EXPECT_FALSE(InstanceLock::run(place()));
    EXPECT_LE(InstanceLock::acquire(place()).error().nativeCode, 0);
    close(file);
}

}  // namespace
}  // namespace dravo::posix
