#pragma once

#include <chrono>

#include "base/calendar.h"

namespace dravo::testing {

/// A zone that is always the same time ahead of UTC: no clock changes.
class FixedOffsetCalendar : public Calendar {
public:
    explicit FixedOffsetCalendar(std::chrono::minutes ahead = {}) : ahead_(ahead) {}

    [[nodiscard]] LocalFields fields(WallTime instant) const override {
        const auto local = std::chrono::floor<std::chrono::seconds>(instant) + ahead_;
        const auto day = std::chrono::floor<std::chrono::days>(local);
        const std::chrono::year_month_day date(day);
        const std::chrono::hh_mm_ss time(local - day);
        return {static_cast<int>(date.year()),
                static_cast<int>(static_cast<unsigned>(date.month())),
                static_cast<int>(static_cast<unsigned>(date.day())),
                static_cast<int>(time.hours().count()),
                static_cast<int>(time.minutes().count()),
                static_cast<int>(time.seconds().count())};
    }

    [[nodiscard]] WallTime instant(const LocalFields& fields) const override {
        const std::chrono::year_month_day first(std::chrono::year(fields.year),
                                                std::chrono::month(static_cast<unsigned>(fields.month)),
                                                std::chrono::day(1));
        return std::chrono::sys_days(first) + std::chrono::days(fields.day - 1) + std::chrono::hours(fields.hour) +
               std::chrono::minutes(fields.minute) + std::chrono::seconds(fields.second) - ahead_;
    }

    [[nodiscard]] Subscription onZoneChange(std::function<void()>) override { return {}; }

private:
    std::chrono::minutes ahead_;
};

}  // namespace dravo::testing
