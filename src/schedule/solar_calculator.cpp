#include "schedule/solar_calculator.h"

#include <chrono>
#include <cmath>
#include <numbers>

namespace dravo {

namespace {

constexpr double kJ2000 = 2451545.0;
constexpr double kUnixEpoch = 2440587.5;
constexpr double kSecondsPerDay = 86400.0;
constexpr double kSinObliquity = 0.39778370349342274;   // sin 23.4397 degrees
constexpr double kSinAltitude = -0.014538080502496949;  // sin -0.833 degrees

double radians(double degrees) { return degrees * std::numbers::pi / 180; }
double sinDegrees(double degrees) { return std::sin(radians(degrees)); }

double wholeTurn(double degrees) {
    const double rest = std::fmod(degrees, 360.0);
    return rest < 0 ? rest + 360.0 : rest;
}

WallTime instantOf(double julianDate) {
    const std::chrono::duration<double> sinceEpoch((julianDate - kUnixEpoch) * kSecondsPerDay);
    return WallTime(std::chrono::duration_cast<WallTime::duration>(sinceEpoch));
}

}  // namespace

int SolarCalculator::julianDayNumber(WallTime instant, const Calendar& calendar) {
    const LocalFields fields = calendar.fields(instant);
    const int a = (14 - fields.month) / 12;
    const int y = fields.year + 4800 - a;
    const int m = fields.month + 12 * a - 3;
    return fields.day + (153 * m + 2) / 5 + 365 * y + y / 4 - y / 100 + y / 400 - 32045;
}

std::optional<SolarTimes> SolarCalculator::solarTimes(WallTime instant, double latitude, double longitude,
                                                      const Calendar& calendar) {
    const double day = julianDayNumber(instant, calendar);
    const double meanSolarTime = (day - kJ2000) + 0.0008 - longitude / 360.0;
    const double anomaly = wholeTurn(357.5291 + 0.98560028 * meanSolarTime);
    const double centre =
        1.9148 * sinDegrees(anomaly) + 0.02 * sinDegrees(anomaly + anomaly) + 0.0003 * sinDegrees(anomaly * 3.0);
    const double eclipticLongitude = wholeTurn(anomaly + centre + 180.0 + 102.9372);
    const double transit = (meanSolarTime + kJ2000) + 0.0053 * sinDegrees(anomaly) +
                           sinDegrees(eclipticLongitude + eclipticLongitude) * -0.0069;
    const double declination = std::asin(sinDegrees(eclipticLongitude) * kSinObliquity);

    const double latitudeAngle = radians(latitude);
    const double cosHourAngle = (kSinAltitude - std::sin(latitudeAngle) * std::sin(declination)) /
                                (std::cos(latitudeAngle) * std::cos(declination));
    // Asked this way round, so that coordinates that are no numbers give no times either.
    if (!(std::abs(cosHourAngle) <= 1.0)) return std::nullopt;
    const double halfDay = std::acos(cosHourAngle) * 180 / std::numbers::pi / 360.0;
    return SolarTimes{instantOf(transit - halfDay), instantOf(transit + halfDay)};
}

std::optional<ScheduleWindow> SolarCalculator::scheduleWindow(WallTime instant, const Calendar& calendar,
                                                              double latitude, double longitude) {
    const auto times = solarTimes(instant, latitude, longitude, calendar);
    if (!times) return std::nullopt;
    return ScheduleWindow{minutesOfDay(times->sunset, calendar), minutesOfDay(times->sunrise, calendar)};
}

int SolarCalculator::minutesOfDay(WallTime instant, const Calendar& calendar) {
    const LocalFields fields = calendar.fields(instant);
    return fields.hour * 60 + fields.minute;
}

}  // namespace dravo
