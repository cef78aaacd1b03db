#include "platform/posix/termination_guard.h"

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <csignal>

namespace dravo::posix {
namespace {

using Found = TerminationGuard::Found;

struct Ending {
    int signal = 0;   ///< The one that ended the child; 0: it ended by itself.
    std::string log;  ///< What the child wrote before it ended.
    bool operator==(const Ending&) const = default;
};
std::ostream& operator<<(std::ostream& out, const Ending& ending) {
    return out << "signal " << ending.signal << " after '" << ending.log << "'";
}

using Program = std::function<void(TerminationGuard&, int log)>;

void sleepOn(TerminationGuard&, int) {
    for (;;) pause();
}

// Runs `program` in a child under a guard whose restore writes "R", sends it `signals` once it has written "+", and
// waits for its end. A guard that does not end the child would hang the test, so the child has an alarm.
Ending endByGuard(std::initializer_list<int> signals, const Program& program, Found found = Found::theirOwn,
                  int ignored = SIGINT) {
    std::array<int, 2> log{};
    if (pipe(log.data()) != 0) return {};
    const pid_t child = fork();
    if (child == 0) {
        alarm(20);
        constexpr rlimit kNoCore = {};
        setrlimit(RLIMIT_CORE, &kNoCore);
        std::signal(ignored, SIG_IGN);
        TerminationGuard::blockSignals();
        const auto say = [&](const char* word) { return write(log[1], word, 1) == 1; };
        const auto guard = TerminationGuard::create([&] { return say("P"); }, [&] { say("R"); }, found);
        (*guard)->waitUntilReady();
        say("+");
        program(**guard, log[1]);
        _exit(0);
    }
    close(log[1]);
    Ending ending;
    char letter = 0;
    while (read(log[0], &letter, 1) == 1) {
        ending.log += letter;
        if (letter != '+') continue;
        for (const int signal : signals) kill(child, signal);
    }
    close(log[0]);
    int status = 0;
    waitpid(child, &status, 0);
    if (WIFSIGNALED(status)) ending.signal = WTERMSIG(status);
    return ending;
}

TEST(TerminationGuardTest, RestoresOnceAndEndsByThatSignalWhateverTheMainThreadDoes) {
    for (const int signal : {SIGTERM, SIGINT, SIGHUP, SIGQUIT}) {
        const Program spinOn = [](TerminationGuard& guard, int) {
            while (!guard.isEnding()) {
            }
            guard.standStillIfEnding();
            _exit(42);  // not reached: the main thread stands still until the signal ends the process
        };
        const Program ignoreIt = [&](TerminationGuard& guard, int) {
            std::signal(signal, SIG_IGN);
            kill(getpid(), signal);
            sleepOn(guard, 0);
        };
        EXPECT_EQ(endByGuard({signal}, sleepOn), (Ending{signal, "P+R"}));
        EXPECT_EQ(endByGuard({signal}, spinOn), (Ending{signal, "P+R"}));
        EXPECT_EQ(endByGuard({}, ignoreIt), (Ending{signal, "P+R"})) << "as a library may";
    }
    EXPECT_EQ(endByGuard({SIGTERM, SIGINT, SIGTERM, SIGHUP}, sleepOn).log, "P+R");
}

TEST(TerminationGuardTest, OutlivesATerminalWhoseHangUpItsStarterHadIgnored) {
    EXPECT_EQ(endByGuard({SIGHUP, SIGTERM}, sleepOn, Found::theirOwn, SIGHUP), (Ending{SIGTERM, "P+R"}));
    EXPECT_EQ(endByGuard({SIGINT}, sleepOn, Found::theirOwn, SIGINT), (Ending{SIGINT, "P+R"}))
        << "a shell's background jobs ignore that one";
}

TEST(TerminationGuardTest, LetsASignalWaitWhileTheProgramIsReplaced) {
    const auto sendAndGoOn = [](int log, const std::function<void()>& goOn) {
        kill(getpid(), SIGTERM);
        if (write(log, "c", 1) == 1) goOn();
        for (;;) pause();
    };
    const Program suspended = [&](TerminationGuard& guard, int log) {
        guard.suspend();
        guard.resume();
        guard.suspend();
        sendAndGoOn(log, [&] { guard.resume(); });
    };
    EXPECT_EQ(endByGuard({}, suspended), (Ending{SIGTERM, "P+cR"}));
    const Program notYetInCharge = [&](TerminationGuard& guard, int log) {
        sendAndGoOn(log, [&] { guard.takeCharge(); });
    };
    EXPECT_EQ(endByGuard({}, notYetInCharge, Found::ours), (Ending{SIGTERM, "P+cR"}));
}

TEST(TerminationGuardTest, EndsItsThreadQuietlyWhenTheProgramEndsByItself) {
    EXPECT_EQ(endByGuard({}, [](TerminationGuard&, int) {}), (Ending{0, "P+"}));

    TerminationGuard::blockSignals();
    bool restored = false;
    for (const bool isSuspended : {false, true}) {
        const auto guard = TerminationGuard::create([] { return true; }, [&] { restored = true; });
        if (isSuspended) (*guard)->suspend();
    }
    EXPECT_FALSE(restored);
}

}  // namespace
}  // namespace dravo::posix
