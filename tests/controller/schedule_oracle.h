#pragma once

#include <chrono>
#include <cmath>
#include <cstdint>
#include <numbers>
#include <optional>
#include <string>
#include <vector>

namespace dravo::testing {

/// The rules of the schedule once more, in whole seconds of Unix time and as plainly as possible: what the controller
/// is held against. Shares nothing with it.
struct ScheduleOracle {
    /// A place on earth with its zone's offsets in one year.
    struct Place {
        std::string zone;
        double latitude, longitude;
        struct Offset {
            std::int64_t from;  ///< Unix time.
            int minutes;        ///< Ahead of UTC.
        };
        std::vector<Offset> offsets;
    };

    struct Settings {
        bool isOn = true;
        bool followsSun = false;
        int start = 1200;
        int end = 420;
    };

    Settings settings;
    const Place* zone = nullptr;  ///< Whose clocks count.
    const Place* sun = nullptr;   ///< Whose sun counts.

    bool filter = true;
    bool byHand = false;
    std::optional<bool> lastIn;
    bool wasOn = false;
    std::optional<std::int64_t> pausedUntil;

    [[nodiscard]] std::int64_t localSeconds(std::int64_t utc) const {
        std::int64_t minutes = 0;
        for (const auto& offset : zone->offsets)
            if (utc >= offset.from) minutes = offset.minutes;
        return utc + minutes * 60;
    }
    [[nodiscard]] int minuteOfDay(std::int64_t utc) const {
        const std::int64_t second = ((localSeconds(utc) % 86400) + 86400) % 86400;
        return static_cast<int>(second / 60);
    }

    [[nodiscard]] bool isIn(std::int64_t utc) const {
        int start = settings.start;
        int end = settings.end;
        if (settings.followsSun) useSun(utc, start, end);
        const int minute = minuteOfDay(utc);
        if (start == end) return false;
        if (start < end) return minute >= start && minute < end;
        return minute >= start || minute < end;
    }

    /// The sunrise equation for the local day; leaves the times alone where the sun stays up or down.
    void useSun(std::int64_t utc, int& start, int& end) const {
        const auto degrees = [](double angle) { return angle * std::numbers::pi / 180; };
        const double daysSince2000 = static_cast<double>(localSeconds(utc) / 86400 - 10957);
        const double j = daysSince2000 + 0.0008 - sun->longitude / 360;
        double anomaly = std::fmod(357.5291 + 0.98560028 * j, 360);
        if (anomaly < 0) anomaly += 360;
        const double centre = 1.9148 * std::sin(degrees(anomaly)) + 0.02 * std::sin(degrees(2 * anomaly)) +
                              0.0003 * std::sin(degrees(3 * anomaly));
        const double ecliptic = std::fmod(anomaly + centre + 180 + 102.9372, 360);
        const double transit =
            j + 2451545 + 0.0053 * std::sin(degrees(anomaly)) - 0.0069 * std::sin(degrees(2 * ecliptic));
        const double declination = std::asin(std::sin(degrees(ecliptic)) * std::sin(degrees(23.4397)));
        const double cosine = (std::sin(degrees(-0.833)) - std::sin(degrees(sun->latitude)) * std::sin(declination)) /
                              (std::cos(degrees(sun->latitude)) * std::cos(declination));
        if (cosine < -1 || cosine > 1) return;
        const double halfDay = std::acos(cosine) / (2 * std::numbers::pi);
        const auto unix = [](double julian) {
            return static_cast<std::int64_t>(std::floor((julian - 2440587.5) * 86400));
        };
        start = minuteOfDay(unix(transit + halfDay));
        end = minuteOfDay(unix(transit - halfDay));
    }

    void launch(std::int64_t now) {
        wasOn = settings.isOn;
        if (settings.isOn) {
            lastIn = isIn(now);
            filter = *lastIn;
        }
    }
    void look(std::int64_t now) {
        if (pausedUntil && now >= *pausedUntil) return resume(now);
        if (!settings.isOn) {
            lastIn.reset();
            byHand = wasOn = false;
            return;
        }
        const bool in = isIn(now);
        if (!lastIn || !wasOn || *lastIn != in) byHand = false;
        if (!pausedUntil && !byHand) filter = in;
        lastIn = in;
        wasOn = true;
    }
    void toggle() {
        filter = !filter;
        if (filter) pausedUntil.reset();
        if (settings.isOn) byHand = true;
    }
    void pause(std::int64_t until) {
        filter = false;
        pausedUntil = until;
    }
    void resume(std::int64_t now) {
        pausedUntil.reset();
        byHand = false;
        filter = true;
        if (settings.isOn) {
            lastIn = isIn(now);
            filter = *lastIn;
        }
    }
};

/// Unix time in the year of these tests, 2018, when more zones still changed their clocks.
constexpr std::int64_t utc(int month, int day, int hour) {
    return std::chrono::sys_seconds{std::chrono::sys_days{std::chrono::year{2018} / month / day} +
                                    std::chrono::hours{hour}}
        .time_since_epoch()
        .count();
}

inline const ScheduleOracle::Place kBerlin{
    "Europe/Berlin", 52.52, 13.405, {{0, 60}, {utc(3, 25, 1), 120}, {utc(10, 28, 1), 60}}};

}  // namespace dravo::testing
