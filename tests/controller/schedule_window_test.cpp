#include "controller/schedule_window.h"

#include <gtest/gtest.h>

#include <random>

#include "support/memory/memory_user_defaults.h"
#include "support/zone_calendar.h"

namespace dravo {
namespace {

using namespace std::chrono_literals;

class ScheduleWindowTest : public ::testing::Test {
protected:
    void set(int start, int end, bool followsSun) {
        preferences.setScheduleMode(followsSun ? ScheduleMode::sunsetToSunrise : ScheduleMode::customTimes);
        preferences.setScheduleStartMinutes(start);
        preferences.setScheduleEndMinutes(end);
    }
    bool isIn(WallTime instant) { return isInScheduleWindow(instant, preferences, calendar); }
    /// The next change as the schedule itself meets it: minute by minute.
    std::optional<WallTime> scan(WallTime instant) {
        const bool isInNow = isIn(instant);
        for (auto at = std::chrono::floor<std::chrono::minutes>(instant) + 1min; at <= instant + 48h; at += 1min)
            if (isIn(at) != isInNow) return at;
        return std::nullopt;
    }

    memory::MemoryUserDefaults defaults;
    PreferencesStore preferences{defaults};
    testing::ZoneCalendar calendar;
};

TEST_F(ScheduleWindowTest, HasItsStartAndNotItsEnd) {
    const struct {
        int start, end;
        std::vector<int> in, out;
    } rows[] = {{1200, 420, {1200, 1439, 0, 419}, {420, 1199}},
                {540, 1020, {540, 1019}, {539, 1020}},
                {480, 480, {}, {479, 480, 481}}};
    for (const auto& row : rows) {
        const DailyWindow window{row.start, row.end};
        for (const int minute : row.in) EXPECT_TRUE(window.contains(minute)) << minute;
        for (const int minute : row.out) EXPECT_FALSE(window.contains(minute)) << minute;
    }
}

TEST_F(ScheduleWindowTest, TheNextChangeIsTheOneThatAScanFinds) {
    using std::chrono::year;
    const struct {
        const char* zone;
        double latitude, longitude;
        std::chrono::year_month_day day;  ///< In whose neighbourhood something odd happens.
    } rows[] = {
        {"Europe/Berlin", 52.5, 13.4, year{2026} / 3 / 29},         // a night without 02:30
        {"Europe/Berlin", 52.5, 13.4, year{2026} / 10 / 25},        // and one that has it twice
        {"Australia/Lord_Howe", -31.6, 159.1, year{2026} / 4 / 5},  // half an hour back
        {"Antarctica/Troll", -72.0, 2.5, year{2026} / 3 / 29},      // two hours on
        {"America/Sao_Paulo", -23.5, -46.6, year{2018} / 11 / 4},   // a day without midnight
        {"Pacific/Apia", -13.8, -171.8, year{2011} / 12 / 30},      // a day that did not happen
        {"Asia/Pyongyang", 39.0, 125.8, year{2018} / 5 / 4},        // half an hour on for good
        {"AAA-5:30:20", 22.6, 88.4, year{2026} / 6 / 1},            // seconds beside everybody's minute
        {"Arctic/Longyearbyen", 78.2, 15.6, year{2026} / 2 / 15},   // the sun comes back
        {"Arctic/Longyearbyen", 78.2, 15.6, year{2026} / 4 / 19},   // and stays up
        {"Pacific/Kiritimati", 1.9, -157.4, year{2026} / 9 / 22},   // the sun's day is another than the calendar's
    };
    const struct {
        int start, end;
        bool followsSun;
    } settings[] = {{1200, 420, false}, {120, 180, false}, {135, 165, true}, {1430, 10, false},
                    {0, 1439, false},   {60, 60, false},   {1200, 420, true}};
    std::mt19937 random(48);
    for (const auto& row : rows) {
        calendar.moveTo(row.zone);
        preferences.setLastLatitude(row.latitude);
        preferences.setLastLongitude(row.longitude);
        for (const auto& setting : settings) {
            set(setting.start, setting.end, setting.followsSun);
            for (int round = 0; round < 4; ++round) {
                const WallTime from =
                    std::chrono::sys_days{row.day} - 60h + std::chrono::seconds{random() % (96 * 3600)};
                ASSERT_EQ(nextScheduleChange(from, preferences, calendar), scan(from))
                    << row.zone << " " << setting.start << " at " << from.time_since_epoch() / 1s;
            }
        }
    }
}

}  // namespace
}  // namespace dravo
