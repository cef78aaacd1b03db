#include "platform/posix/instance_lock.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <filesystem>

namespace dravo::posix {
namespace {

class InstanceLockTest : public ::testing::Test {
protected:
    InstanceLockTest() {
        std::string pattern = ::testing::TempDir() + "lock-XXXXXX";
        folder_ = mkdtemp(pattern.data());
    }
    ~InstanceLockTest() override { std::filesystem::remove_all(folder_); }

    // The lock is the process's, so every question comes from a child. Answers with the child's exit code.
    template <typename Question>
    static int askInChild(Question question) {
        const pid_t child = fork();
        if (child == 0) _exit(question());
        int status = 0;
        waitpid(child, &status, 0);
        return WEXITSTATUS(status);
    }

    std::string path() const { return folder_ + "/lock"; }
    std::string folder_;
};

TEST_F(InstanceLockTest, RefusesASecondRunAndNamesTheFirst) {
    const pid_t self = getpid();
    {
        const auto lock = InstanceLock::acquire(path());
        ASSERT_TRUE(lock.hasValue());
        EXPECT_EQ(askInChild([&] {
                      const auto second = InstanceLock::acquire(path());
                      return !second && second.error().code == ErrorCode::Busy && second.error().nativeCode == self ? 0
                                                                                                                    : 1;
                  }),
                  0);
        EXPECT_EQ(askInChild([&] { return InstanceLock::holder(path()) == self ? 0 : 1; }), 0);
    }
    EXPECT_EQ(askInChild([&] { return InstanceLock::holder(path()) == 0 && InstanceLock::acquire(path()) ? 0 : 1; }),
              0);
}

TEST_F(InstanceLockTest, IsFreeAgainAfterTheHolderWasKilled) {
    std::array<int, 2> ready{};
    ASSERT_EQ(pipe(ready.data()), 0);
    const pid_t holder = fork();
    if (holder == 0) {
        const auto lock = InstanceLock::acquire(path());
        const char held = lock.hasValue() ? 'y' : 'n';
        if (write(ready[1], &held, 1) != 1) _exit(1);
        for (;;) pause();
    }
    char held = 0;
    ASSERT_EQ(read(ready[0], &held, 1), 1);
    ASSERT_EQ(held, 'y');
    EXPECT_EQ(InstanceLock::holder(path()), holder);
    kill(holder, SIGKILL);
    waitpid(holder, nullptr, 0);
    EXPECT_TRUE(InstanceLock::acquire(path()).hasValue());
    close(ready[0]);
    close(ready[1]);
}

TEST_F(InstanceLockTest, SaysWhyItCannotLock) {
    const auto missing = InstanceLock::acquire(folder_ + "/nowhere/lock");
    ASSERT_FALSE(missing.hasValue());
    EXPECT_NE(missing.error().message.find("nowhere/lock"), std::string::npos);
    // A link planted under the lock's name is not followed.
    ASSERT_EQ(symlink("elsewhere", path().c_str()), 0);
    EXPECT_FALSE(InstanceLock::acquire(path()).hasValue());
    EXPECT_FALSE(std::filesystem::exists(folder_ + "/elsewhere"));
}

}  // namespace
}  // namespace dravo::posix
