#include <gtest/gtest.h>

#include <random>

#include "controller/schedule_oracle.h"
#include "support/filter_world.h"

namespace dravo {
namespace {

using namespace std::chrono_literals;
using testing::FilterWorld;
using testing::kBerlin;
using testing::utc;
using Oracle = testing::ScheduleOracle;

const Oracle::Place kSaoPaulo{
    "America/Sao_Paulo", -23.55, -46.633, {{0, -120}, {utc(2, 18, 2), -180}, {utc(11, 4, 3), -120}}};
const Oracle::Place kApia{"Pacific/Apia", -13.833, -171.767, {{0, 840}, {utc(3, 31, 14), 780}, {utc(9, 29, 14), 840}}};
const Oracle::Place kTromso{"Europe/Oslo", 69.649, 18.956, {{0, 60}, {utc(3, 25, 1), 120}, {utc(10, 28, 1), 60}}};
const Oracle::Place kKolkata{"Asia/Kolkata", 22.573, 88.364, {{0, 330}}};

/// The controller and the oracle, side by side through one year.
class Year {
public:
    Year(const Oracle::Place& place, Oracle::Settings settings)
        : world_(stored(place, settings), WallTime{std::chrono::seconds{utc(1, 1, 0) + 10}}) {
        oracle_.settings = settings;
        oracle_.zone = oracle_.sun = &place;
        world_.calendar.moveTo(place.zone);
        world_.start();
        oracle_.launch(now());
    }

    [[nodiscard]] std::int64_t now() const {
        return std::chrono::floor<std::chrono::seconds>(world_.scheduler.now()).time_since_epoch().count();
    }

    /// Time passes in sleep, and the wake looks.
    void sleep(std::chrono::seconds duration) {
        world_.scheduler.sleep(duration);
        look();
    }
    void setClock(std::int64_t instant) {
        world_.scheduler.setWallClock(WallTime{std::chrono::seconds{instant}});
        look();
    }
    void moveTo(const Oracle::Place& place) {
        oracle_.zone = &place;
        world_.calendar.moveTo(place.zone);
        oracle_.look(now());
    }
    void toggle() {
        world_.state->toggle();
        oracle_.toggle();
    }
    /// Half a minute awake: the controller looks by itself.
    void waitForALook() {
        world_.scheduler.advance(30s);
        oracle_.look(now());
    }
    void finishFade() { world_.scheduler.advance(400ms); }

    [[nodiscard]] bool agree() const { return world_.state->isEnabled.get() == oracle_.filter; }
    [[nodiscard]] bool screenAgrees() const { return oracle_.filter ? world_.showsFilter() : world_.showsOwn(); }
    [[nodiscard]] bool isOn() const { return oracle_.filter; }

private:
    static DefaultsValues stored(const Oracle::Place& place, const Oracle::Settings& settings) {
        return {{"scheduleEnabled", true},
                {"scheduleMode", std::int64_t{settings.followsSun ? 1 : 0}},
                {"scheduleStartMinutes", std::int64_t{settings.start}},
                {"scheduleEndMinutes", std::int64_t{settings.end}},
                {"lastLatitude", place.latitude},
                {"lastLongitude", place.longitude}};
    }
    // A wake also loads the tables again, which is no matter of the schedule: now and then is enough.
    void look() {
        if (++looks_ % 16 == 0) {
            world_.wakeSource.wake();
        } else {
            world_.state->refreshState();
        }
        oracle_.look(now());
    }

    FilterWorld world_;
    Oracle oracle_;
    int looks_ = 0;
};

struct Row {
    const char* name;
    const Oracle::Place& place;
    Oracle::Settings settings;
    int changes;  ///< At least so many in the year.
};

class ScheduleYearTest : public ::testing::TestWithParam<Row> {};

TEST_P(ScheduleYearTest, EqualsTheOracleAtEveryLook) {
    Year year(GetParam().place, GetParam().settings);
    std::mt19937 random(2018);
    int changes = 0;
    bool wasOn = year.isOn();
    // A look each five minutes, and some at every minute.
    for (int step = 0; year.now() < utc(12, 31, 0) + 86400; ++step) {
        const bool isClose = step % 1000 < 120;
        year.sleep(isClose ? 60s : 300s);
        if (random() % 700 == 0) year.toggle();
        ASSERT_TRUE(year.agree()) << year.now();
        if (std::exchange(wasOn, year.isOn()) != wasOn) ++changes;
        if (step % 97 == 0) {
            year.finishFade();
            ASSERT_TRUE(year.screenAgrees()) << year.now();
        }
    }
    EXPECT_GE(changes, GetParam().changes);
}

INSTANTIATE_TEST_SUITE_P(Places, ScheduleYearTest,
                         ::testing::Values(Row{"BerlinByTheClock", kBerlin, {}, 700},
                                           Row{"BerlinWhileClocksChange", kBerlin, {.start = 150, .end = 170}, 700},
                                           Row{"BerlinByTheSun", kBerlin, {.followsSun = true}, 700},
                                           Row{"SaoPauloByTheClock", kSaoPaulo, {.start = 1430, .end = 7}, 700},
                                           Row{"SaoPauloByTheSun", kSaoPaulo, {.followsSun = true}, 700},
                                           Row{"ApiaByTheSun", kApia, {.followsSun = true}, 700},
                                           Row{"TromsoByTheSun", kTromso, {.followsSun = true}, 600},
                                           Row{"KolkataByTheClock", kKolkata, {.start = 540, .end = 1020}, 700},
                                           Row{"KolkataByTheSun", kKolkata, {.followsSun = true}, 700}),
                         [](const auto& row) { return row.param.name; });

TEST(ScheduleTest, ACrossedBoundaryIsNoticedByEveryKindOfJump) {
    Year year(kBerlin, {.followsSun = true});
    std::mt19937 random(11);
    const Oracle::Place* const places[] = {&kBerlin, &kSaoPaulo, &kApia, &kTromso, &kKolkata};
    for (int step = 0; step < 20000; ++step) {
        switch (random() % 6) {
            case 0:  // suspended across whatever comes
                year.sleep(std::chrono::seconds(random() % (30 * 3600)));
                break;
            case 1:  // the clock is set back or forward
                year.setClock(year.now() + static_cast<std::int64_t>(random() % 100000) - 50000);
                break;
            case 2:
                year.moveTo(*places[random() % std::size(places)]);
                break;
            case 3:
                year.toggle();
                break;
            case 4:
                year.setClock(utc(1, 2, 0) + static_cast<std::int64_t>(random() % (360 * 86400)));
                break;
            default:
                year.sleep(std::chrono::seconds(random() % 600));
        }
        ASSERT_TRUE(year.agree()) << "step " << step << " at " << year.now();
        if (step % 50 == 0) {
            year.finishFade();
            ASSERT_TRUE(year.screenAgrees()) << "step " << step;
        }
    }
}

TEST(ScheduleTest, AMachineThatNeverSleepsFollowsWithinHalfAMinute) {
    Year year(kBerlin, {.start = 120, .end = 190});  // the hour that is skipped, and the one that comes twice
    for (const std::int64_t night : {utc(3, 24, 23), utc(10, 27, 22)}) {
        year.setClock(night);
        for (int look = 0; look < 5 * 120; ++look) {
            year.waitForALook();
            ASSERT_TRUE(year.agree()) << year.now();
        }
    }
}

}  // namespace
}  // namespace dravo
