#include "desktop/display_watch.h"

namespace dravo::testing {
namespace {

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
        EXPECT_EQ(run->endBy(SIGKILL), ExitStatus::killedBy(SIGKILL));
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
        EXPECT_EQ(run->standardOutput(), wasLeft ? kCrashNotice : "");
        const auto& sights = watch.stop();
        expectFiltered(sights, 1, 1);
        for (const auto& [name, seen] : sights) EXPECT_EQ(seen.front().ramp, ownTables().at(name)) << name;
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
        run->endBy(SIGKILL);

        const bool staysOn = round % 4 < 2;
        prefer(kStrong, staysOn);
        const Run next = staysOn ? startAndSettle() : start();
        EXPECT_TRUE(soon([&] { return isInCharge(*next) && (staysOn || tables() == ownTables()); }));
        quit(*next);
        prefer(kStrong);
    }
}

}  // namespace
}  // namespace dravo::testing
