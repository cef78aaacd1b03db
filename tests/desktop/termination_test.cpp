#include <sys/wait.h>
#include <unistd.h>

#include <array>

#include "desktop/filter_run_test.h"
#include "display/remembered_displays.h"
#include "platform/posix/sd_event_loop.h"
#include "platform/posix/termination_guard.h"
#include "platform/x11/x11_table_device.h"

namespace dravo::testing {
namespace {

constexpr std::array kSignals{SIGTERM, SIGINT, SIGHUP, SIGQUIT};

class TerminationTest : public FilterRunTest {
protected:
    RandomMoments moments_;
};

TEST_F(TerminationTest, GivesTheTablesBackAndKeepsTheFileAtAnyMoment) {
    std::string left;  // what the run before left in the file, byte for byte
    for (int round = 0; round < 50 && !HasFailure(); ++round) {
        SCOPED_TRACE(round);
        const int signal = kSignals[static_cast<std::size_t>(round) % 3];
        const int moment = moments_.oneOf(4);
        const Run run = moment == 0 ? start() : startAndSettle();
        if (moment == 0) moments_.pass(60ms);
        if (moment >= 2) preferOther();
        if (moment == 2) moments_.pass(350ms);
        if (moment == 3) {
            // The fade's next load is sent and never answered: the main thread hangs in it, and its writes are queued.
            moments_.pass(60ms);
            server().freeze();
            moments_.pass(60ms);
        }
        run->signal(signal);
        if (moment == 3) {
            moments_.pass(200ms);
            server().thaw();
        }
        EXPECT_EQ(run->waitForExit(), ExitStatus::killedBy(signal)) << run->standardError();
        EXPECT_EQ(tables(), ownTables()) << "moment " << moment;
        const std::string kept = contentOf(savedTables());
        EXPECT_TRUE(moment == 0 || !kept.empty());
        EXPECT_TRUE(left.empty() || kept == left);
        left = kept;
    }
    quit(*startAndSettle());
}

TEST_F(TerminationTest, QuitsWithoutATintAtAnyMomentAfterTwoChanges) {
    for (int round = 0; round < RandomMoments::rounds(20) && !HasFailure(); ++round) {
        SCOPED_TRACE(round);
        const Run run = startAndSettle();
        preferOther();
        moments_.pass(20ms);
        preferOther();
        moments_.pass(120ms);
        quit(*run);
    }
}

TEST_F(TerminationTest, EndsAProgramThatWaitsForAServerThatDoesNotAnswer) {
    const Run running = startAndSettle();
    preferOther();
    server().freeze();
    EXPECT_EQ(running->endBy(SIGTERM), ExitStatus::killedBy(SIGTERM));
    EXPECT_TRUE(std::filesystem::exists(savedTables()));

    const Run starting = start();
    EXPECT_TRUE(soon([&] { return isInCharge(*starting); }));
    EXPECT_EQ(starting->endBy(SIGTERM), ExitStatus::killedBy(SIGTERM));

    server().thaw();
    quit(*startAndSettle());
}

TEST_F(TerminationTest, GivesTheTablesBackWhereTheLibraryBehindTheFirstTableCannotBeLoaded) {
    home().write("libsystemd.so.0", "not a library");
    session()["LD_LIBRARY_PATH"] = home().path();
    EXPECT_NE(command({"--headless"}, 1).find("libsystemd.so.0"), std::string::npos);
    EXPECT_EQ(tables(), ownTables());
    EXPECT_FALSE(std::filesystem::exists(savedTables()));
}

class WritingMainThreadTest : public FilterRunTest {
protected:
    /// The engine's parts that matter at the end, in a child whose main thread writes tables and never comes back to
    /// its loop. On a full server the guard is refused its connection first, and so is every table then.
    [[noreturn]] static void filterAndWrite(const std::string& address, bool isServerFull, int ready) {
        alarm(20);
        posix::TerminationGuard::blockSignals();
        x11::EmergencyRestore emergency(address);
        auto device = x11::X11TableDevice::create(address, &emergency);
        if (!device) _exit(1);
        posix::SdEventLoop loop;
        OriginalGammaStore store({});
        RememberedDisplays displays(**device, store, loop);
        displays.begin(LastingDisplays::Beginning::afresh);
        const auto load = [&](double intensity) {
            displays.show(computeTable(FilterPreset::fl41(), intensity, 0, 0, 0), Fade::none);
            return displays.list()->front().state == DisplayState::ready;
        };
        std::vector<x11::Connection> others;
        while (isServerFull) {
            auto another = x11::connect(address);
            if (!another) break;
            others.push_back(*std::move(another));
        }
        const auto guard =
            posix::TerminationGuard::create([&] { return emergency.open().hasValue(); }, [&] { emergency.speak(); });
        (*guard)->waitUntilReady();
        if (load(kStrong) == isServerFull) _exit(2);
        others.clear();
        while (!load(kStrong)) std::this_thread::sleep_for(10ms);
        [[maybe_unused]] const auto said = write(ready, "+", 1);
        for (double intensity = kWeak;; intensity = kWeak + kStrong - intensity) load(intensity);
    }
};

TEST_F(WritingMainThreadTest, HasTheLastWordTakenFromIt) {
    for (int round = 0; round < 12 && !HasFailure(); ++round) {
        std::array<int, 2> ready{};
        ASSERT_EQ(pipe(ready.data()), 0);
        const pid_t child = fork();
        if (child == 0) filterAndWrite(server().address(), round % 6 == 0, ready[1]);
        close(ready[1]);
        char said = 0;
        EXPECT_EQ(read(ready[0], &said, 1), 1);
        EXPECT_NE(tables(), ownTables());
        const int signal = kSignals[static_cast<std::size_t>(round) % kSignals.size()];
        kill(child, signal);
        int status = 0;
        waitpid(child, &status, 0);
        EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == signal) << status;
        EXPECT_EQ(tables(), ownTables());
        close(ready[0]);
    }
}

}  // namespace
}  // namespace dravo::testing
