#include "schedule/solar_calculator.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "support/fixed_offset_calendar.h"

namespace dravo {
namespace {

using std::chrono::hours;
using std::chrono::minutes;
using testing::FixedOffsetCalendar;

const FixedOffsetCalendar kUtc;

WallTime noon(int year, int month, int day) { return kUtc.instant({year, month, day, 12}); }

TEST(SolarCalculatorTest, CountsDaysInTheCalendarsZone) {
    const WallTime lateEvening = kUtc.instant({2024, 2, 29, 23, 30});
    EXPECT_EQ(SolarCalculator::julianDayNumber(lateEvening, kUtc), 2460370);
    EXPECT_EQ(SolarCalculator::julianDayNumber(lateEvening, FixedOffsetCalendar(hours(1))), 2460371);
    for (int day = 0; day < 1500; ++day) {
        const WallTime instant = noon(2023, 1, 1) + hours(24) * day;
        EXPECT_EQ(SolarCalculator::julianDayNumber(instant, kUtc), 2459946 + day);
    }
}

struct AlmanacRow {
    const char* place;
    WallTime day;
    double latitude, longitude;
    WallTime sunrise, sunset;
};

TEST(SolarCalculatorTest, AgreesWithTheAlmanacWithinTwoMinutes) {
    const AlmanacRow rows[] = {
        {"Berlin", noon(2024, 12, 21), 52.52, 13.405, kUtc.instant({2024, 12, 21, 7, 15}),
         kUtc.instant({2024, 12, 21, 14, 54})},
        {"Sydney", noon(2024, 12, 21), -33.87, 151.21, kUtc.instant({2024, 12, 20, 18, 41}),
         kUtc.instant({2024, 12, 21, 9, 5})},
    };
    for (const auto& row : rows) {
        const auto found = SolarCalculator::solarTimes(row.day, row.latitude, row.longitude, kUtc);
        ASSERT_TRUE(found) << row.place;
        EXPECT_LE(std::chrono::abs(found->sunrise - row.sunrise), minutes(2)) << row.place;
        EXPECT_LE(std::chrono::abs(found->sunset - row.sunset), minutes(2)) << row.place;
    }
}

TEST(SolarCalculatorTest, HasNoTimesInPolarDayAndNight) {
    EXPECT_FALSE(SolarCalculator::solarTimes(noon(2024, 6, 15), 78, 15, kUtc));
    EXPECT_FALSE(SolarCalculator::solarTimes(noon(2024, 12, 15), 78, 15, kUtc));
    EXPECT_FALSE(SolarCalculator::scheduleWindow(noon(2024, 6, 15), kUtc, -78, 15));
    EXPECT_TRUE(SolarCalculator::solarTimes(noon(2024, 3, 20), 78, 15, kUtc));
    for (const double wrong : {std::numeric_limits<double>::quiet_NaN(), std::numeric_limits<double>::infinity()})
        EXPECT_FALSE(SolarCalculator::solarTimes(noon(2024, 3, 20), 0, wrong, kUtc));
    // In Tromsø the sun stays away for about two months in winter and stays up as long in summer.
    int without = 0;
    for (int day = 0; day < 365; ++day)
        without += !SolarCalculator::solarTimes(noon(2025, 1, 1) + hours(24) * day, 69.65, 18.96, kUtc);
    EXPECT_NEAR(without, 120, 8);
}

TEST(SolarCalculatorTest, KeepsTheOrderAllYearAndFollowsTheLongitude) {
    for (int day = 0; day < 366; ++day) {
        const WallTime instant = noon(2024, 1, 1) + hours(24) * day;
        for (const double latitude : {-60.0, -23.5, 0.0, 45.0, 65.0}) {
            const auto here = SolarCalculator::solarTimes(instant, latitude, 0, kUtc);
            const auto west = SolarCalculator::solarTimes(instant, latitude, -90, kUtc);
            ASSERT_TRUE(here && west) << day << " " << latitude;
            ASSERT_LT(here->sunrise, here->sunset);
            ASSERT_LE(std::chrono::abs(west->sunrise - here->sunrise - hours(6)), minutes(2));
            // North and south share the light: to one's long day belongs the other's short one.
            const auto mirrored = SolarCalculator::solarTimes(instant, -latitude, 0, kUtc);
            const auto both = (here->sunset - here->sunrise) + (mirrored->sunset - mirrored->sunrise);
            ASSERT_GE(both, hours(24));
            ASSERT_LE(both, hours(26));
        }
    }
}

TEST(SolarCalculatorTest, CountsMinutesInTheCalendarsZone) {
    EXPECT_EQ(SolarCalculator::minutesOfDay(kUtc.instant({2024, 6, 21, 23, 59, 59}), kUtc), 1439);
    EXPECT_EQ(SolarCalculator::minutesOfDay(kUtc.instant({2024, 6, 21, 0, 0, 30}), kUtc), 0);
    EXPECT_EQ(SolarCalculator::minutesOfDay(kUtc.instant({2024, 6, 21, 23, 59}), FixedOffsetCalendar(minutes(345))),
              5 * 60 + 44);
}

}  // namespace
}  // namespace dravo
