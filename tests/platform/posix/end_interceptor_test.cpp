#include "platform/posix/end_interceptor.h"

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>
#include <optional>

namespace dravo::posix {
namespace {

constexpr int kIntercepted = 77;

/// How a child ends that tries `end`, with `kIntercepted` for one that the interceptor saw.
int endInChild(void (*end)(), bool isOver) {
    const pid_t child = fork();
    if (child == 0) {
        constexpr rlimit kNoCore = {};
        setrlimit(RLIMIT_CORE, &kNoCore);
        std::optional<EndInterceptor> interceptor([] { _exit(kIntercepted); });
        if (isOver) interceptor.reset();
        end();
    }
    int status = 0;
    waitpid(child, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
}

TEST(EndInterceptorTest, SeesEveryWayOutWhileItLivesAndNoneAfterwards) {
    const struct {
        void (*end)();
        int without;
    } rows[] = {{[] { std::abort(); }, -SIGABRT}, {[] { raise(SIGTRAP); }, -SIGTRAP}, {[] { std::exit(3); }, 3}};
    for (const auto& [end, without] : rows) {
        EXPECT_EQ(endInChild(end, true), without);
        EXPECT_EQ(endInChild(end, false), kIntercepted) << without;
    }
}

}  // namespace
}  // namespace dravo::posix
