#include "desktop/display_watch.h"
#include "desktop/filter_run_test.h"
#include "desktop/random_moments.h"

namespace dravo::testing {
namespace {

using namespace std::chrono_literals;

class KillTest : public FilterRunTest {
protected:
    /// Starts a run and kills it: while it starts, while it fades, or when nothing happens.
    void startAndKill() {
        const int moment = moments_.oneOf(4);
        const Run run = moment == 0 ? start() : startAndSettle();
        if (moment == 0) moments_.pass(60ms);
        if (moment >= 2) {
            preferOther();
            moments_.pass(350ms);
        }
        killHard(*run);
    }

    /// Own tables, then nothing but filtered ones, then own tables again.
    static void expectNoUnfilteredMoment(const DisplayWatch::Sights& sights, const Ramps& own) {
        for (const auto& [name, seen] : sights) {
            EXPECT_EQ(seen.front().ramp, own.at(name)) << name;
            for (std::size_t i = 1; i + 1 < seen.size(); ++i) {
                EXPECT_TRUE(isFiltered(seen[i].ramp)) << name << " shows " << seen[i].ramp << " as its table " << i;
            }
            EXPECT_EQ(seen.back().ramp, own.at(name)) << name;
        }
    }

    void expectAsBefore() {
        EXPECT_EQ(tables(), ownTables());
        EXPECT_FALSE(std::filesystem::exists(savedTables()));
    }

    RandomMoments moments_;
};

TEST_F(KillTest, IsUndoneByTheNextStartWithoutAnUnfilteredMoment) {
    for (int round = 0; round < 50 && !HasFailure(); ++round) {
        SCOPED_TRACE(round);
        DisplayWatch watch(server().address(), displays().enabledOutputs());
        for (int kills = moments_.oneOf(4) == 0 ? 2 : 1; kills > 0; --kills) startAndKill();
        const bool wasLeft = std::filesystem::exists(savedTables());
        const Run run = startAndSettle();
        quit(*run);
        expectNoUnfilteredMoment(watch.stop(), ownTables());
        EXPECT_EQ(run->standardOutput(), wasLeft ? kCrashNotice : "");
        expectAsBefore();
    }
}

TEST_F(KillTest, InTheMiddleOfSwitchingOffOrQuittingIsUndoneToo) {
    for (int round = 0; round < 12 && !HasFailure(); ++round) {
        SCOPED_TRACE(round);
        const Run run = startAndSettle();
        if (round % 2 == 0) {
            prefer(intensity(), false);
            moments_.pass(400ms);
        } else {
            run->signal(SIGUSR2);
            moments_.pass(5ms);
        }
        run->signal(SIGKILL);
        run->waitForExit();

        const bool staysOn = round % 4 < 2;
        prefer(kStrong, staysOn);
        const Run next = staysOn ? startAndSettle() : start();
        EXPECT_TRUE(waitUntil([&] { return isInCharge(*next) && (staysOn || tables() == ownTables()); }));
        quit(*next);
        expectAsBefore();
        prefer(kStrong);
    }
}

}  // namespace
}  // namespace dravo::testing
