#pragma once

#include <chrono>
#include <cstdlib>
#include <ctime>
#include <string>

#include "base/calendar.h"
#include "base/observable.h"

namespace dravo::testing {

/// The calendar of a named time zone, by the C library and its zone database; UTC until `moveTo`.
///
/// The process has one zone: only one of these at a time.
class ZoneCalendar : public Calendar {
public:
    ZoneCalendar() { moveTo("UTC"); }

    /// The machine comes into another zone, and subscribers hear of it.
    void moveTo(const std::string& zone) {
        ::setenv("TZ", zone.c_str(), 1);
        ::tzset();
        zoneChanges_.deliver();
    }

    [[nodiscard]] LocalFields fields(WallTime instant) const override {
        const std::time_t seconds = std::chrono::floor<std::chrono::seconds>(instant).time_since_epoch().count();
        std::tm local{};
        ::localtime_r(&seconds, &local);
        return {local.tm_year + 1900, local.tm_mon + 1, local.tm_mday, local.tm_hour, local.tm_min, local.tm_sec};
    }

    [[nodiscard]] WallTime instant(const LocalFields& fields) const override {
        std::tm local{};
        local.tm_year = fields.year - 1900;
        local.tm_mon = fields.month - 1;
        local.tm_mday = fields.day;
        local.tm_hour = fields.hour;
        local.tm_min = fields.minute;
        local.tm_sec = fields.second;
        local.tm_isdst = -1;
        return std::chrono::system_clock::from_time_t(::mktime(&local));
    }

    [[nodiscard]] Subscription onZoneChange(std::function<void()> callback) override {
        return zoneChanges_.add(std::move(callback));
    }

private:
    SubscriberList<> zoneChanges_;
};

}  // namespace dravo::testing
