#include "platform/posix/end_interceptor.h"

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>
#include <optional>

namespace dravo::posix {
namespace {

constexpr int kIntercepted = 77;

/// Ends the process by `end`, with `kIntercepted` if the interceptor saw it.
void endWith(void (*end)(), bool isOver) {
    constexpr rlimit kNoCore = {};
    setrlimit(RLIMIT_CORE, &kNoCore);
    std::optional<EndInterceptor> interceptor([] { _exit(kIntercepted); });
    if (isOver) interceptor.reset();
    end();
}

TEST(EndInterceptorTest, SeesEveryWayOutWhileItLivesAndNoneAfterwards) {
    using namespace ::testing;
    for (const auto end : {+[] { std::abort(); }, +[] { raise(SIGTRAP); }, +[] { std::exit(3); }})
        EXPECT_EXIT(endWith(end, false), ExitedWithCode(kIntercepted), "");
    EXPECT_EXIT(endWith([] { std::abort(); }, true), KilledBySignal(SIGABRT), "");
    EXPECT_EXIT(endWith([] { std::exit(3); }, true), ExitedWithCode(3), "");
}

}  // namespace
}  // namespace dravo::posix
