#include "platform/posix/system_calendar.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "platform/posix/sd_event_loop.h"
#include "support/environment_variable.h"
#include "support/temporary_folder.h"
#include "support/wait_until.h"

namespace dravo {

// In the tests' failure messages.
void PrintTo(const LocalFields& f, std::ostream* out) {
    *out << f.year << '-' << f.month << '-' << f.day << ' ' << f.hour << ':' << f.minute << ':' << f.second;
}

namespace posix {
namespace {

using namespace std::chrono_literals;
using dravo::testing::kPatience;

class SystemCalendarTest : public ::testing::Test {
protected:
    void live(const std::string& zone) { zone_.set(zone); }
    static WallTime utc(std::chrono::year_month_day day, std::chrono::seconds time) {
        return std::chrono::sys_days{day} + time;
    }

private:
    dravo::testing::EnvironmentVariable zone_{"TZ"};
};

constexpr auto kSpring = 2026y / 3 / 29;
constexpr auto kAutumn = 2026y / 10 / 25;
constexpr auto kNewYear = 2026y / 1 / 1;

TEST_F(SystemCalendarTest, SplitsInTheZoneThatHoldsNowAndCountsBeforeTheEpoch) {
    const SystemCalendar calendar;
    live("Asia/Kolkata");
    EXPECT_EQ(calendar.fields(utc(kNewYear, 20h + 1s)), (LocalFields{2026, 1, 2, 1, 30, 1}));
    live("America/Sao_Paulo");
    EXPECT_EQ(calendar.fields(utc(kNewYear, 1h)), (LocalFields{2025, 12, 31, 22, 0, 0}));
    live("UTC0");
    EXPECT_EQ(calendar.fields(WallTime{-1ns}), (LocalFields{1969, 12, 31, 23, 59, 59}));
}

TEST_F(SystemCalendarTest, FindsTheInstantOfLocalFieldsAcrossClockChangesAndOverflow) {
    const struct {
        const char* what;
        const char* zone;
        LocalFields local;
        WallTime expected;
    } rows[] = {
        {"plain", "Europe/Berlin", {2026, 7, 1, 12, 0, 0}, utc(2026y / 7 / 1, 10h)},
        {"before a gap", "Europe/Berlin", {2026, 3, 29, 1, 59, 59}, utc(kSpring, 59min + 59s)},
        {"in a gap", "Europe/Berlin", {2026, 3, 29, 2, 30, 0}, utc(kSpring, 1h)},
        {"after a gap", "Europe/Berlin", {2026, 3, 29, 3, 0, 0}, utc(kSpring, 1h)},
        {"repeated hour", "Europe/Berlin", {2026, 10, 25, 2, 30, 0}, utc(kAutumn, 30min)},
        {"after the repeated hour", "Europe/Berlin", {2026, 10, 25, 3, 0, 0}, utc(kAutumn, 2h)},
        {"skipped midnight", "America/Sao_Paulo", {2018, 11, 4, 0, 0, 0}, utc(2018y / 11 / 4, 3h)},
        {"skipped day", "Pacific/Apia", {2011, 12, 30, 12, 0, 0}, utc(2011y / 12 / 30, 10h)},
        {"half-hour change", "Australia/Lord_Howe", {2026, 4, 5, 1, 45, 0}, utc(2026y / 4 / 4, 14h + 45min)},
        {"day 0 and hour 25", "UTC0", {2026, 1, 0, 25, 0, 0}, utc(kNewYear, 1h)},
        {"31 days on", "Europe/Berlin", {2026, 3, 60, 7, 0, 0}, utc(2026y / 4 / 29, 5h)},
    };
    const SystemCalendar calendar;
    for (const auto& row : rows) {
        live(row.zone);
        EXPECT_EQ(calendar.instant(row.local), row.expected) << row.what;
    }
}

TEST_F(SystemCalendarTest, EveryHalfHourOfAYearReadsBackAsItsFirstOccurrence) {
    const SystemCalendar calendar;
    for (const char* zone : {"Europe/Berlin", "Australia/Lord_Howe", "Africa/Casablanca", "Pacific/Apia"}) {
        live(zone);
        for (auto at = utc(kNewYear, 0s); at < utc(kNewYear, 366 * 24h); at += 30min) {
            const auto local = calendar.fields(at);
            const auto back = calendar.instant(local);
            ASSERT_LE(back, at) << zone;
            ASSERT_EQ(calendar.fields(back), local) << zone;
        }
    }
}

TEST_F(SystemCalendarTest, TellsOfAReplacedZoneFileAndSplitsByItFromThenOn) {
    dravo::testing::TemporaryFolder folder;
    const auto link = folder / "localtime";
    std::filesystem::create_symlink("/usr/share/zoneinfo/Europe/Berlin", link);
    live(":" + link.string());

    SdEventLoop loop;
    SystemCalendar calendar(&loop);
    const auto noon = utc(kNewYear, 12h);
    EXPECT_EQ(calendar.fields(noon).hour, 13);

    int told = 0;
    const auto subscription = calendar.onZoneChange([&] {
        ++told;
        loop.quit(0);
    });
    const auto giveUp = loop.after(kPatience, [&] { loop.quit(1); });
    loop.post([&] {
        std::filesystem::create_symlink("/usr/share/zoneinfo/Asia/Tokyo", folder / "next");
        std::filesystem::rename(folder / "next", link);
    });
    ASSERT_EQ(loop.run(), 0);
    EXPECT_EQ(told, 1);
    EXPECT_EQ(calendar.fields(noon).hour, 21);
}

}  // namespace
}  // namespace posix
}  // namespace dravo
