#include "platform/posix/system_calendar.h"

#include <time.h>

#include <algorithm>
#include <cstdlib>
#include <string>
#include <utility>

namespace dravo::posix {

namespace {

constexpr const char* kSystemZone = "/etc/localtime";
constexpr const char* kZoneDatabase = "/usr/share/zoneinfo";

// No zone is further than this from UTC, and no two changes of one zone are closer to each other.
constexpr time_t kFarthestOffset = 26 * 60 * 60;

std::tm split(time_t seconds) {
    std::tm local{};
    ::localtime_r(&seconds, &local);
    return local;
}

time_t offsetAt(time_t seconds) { return split(seconds).tm_gmtoff; }

// The first second in (low, high] whose offset is not the one at `low`.
time_t firstChange(time_t low, time_t high) {
    const auto before = offsetAt(low);
    while (high - low > 1) {
        const auto middle = low + (high - low) / 2;
        (offsetAt(middle) == before ? low : high) = middle;
    }
    return high;
}

// The C library reads a file named by TZ once and looks at it again only when TZ has another value. The variable is
// overwritten in place, never removed, so that a thread which reads the environment meanwhile finds either value.
void forgetZone() {
    const char* zone = std::getenv("TZ");
    if (!zone) return;
    const std::string kept = zone;
    ::setenv("TZ", "UTC0", 1);
    ::tzset();
    ::setenv("TZ", kept.c_str(), 1);
    ::tzset();
}

}  // namespace

std::filesystem::path zoneFile() {
    const char* value = std::getenv("TZ");
    if (!value) return kSystemZone;
    std::filesystem::path name = *value == ':' ? value + 1 : value;
    if (name.empty()) return {};
    if (name.is_relative()) name = kZoneDatabase / name;
    std::error_code ignored;
    return std::filesystem::exists(name, ignored) ? name : std::filesystem::path{};
}

SystemCalendar::SystemCalendar(DescriptorWatch* descriptors) : descriptors_(descriptors) {}

LocalFields SystemCalendar::fields(WallTime instant) const {
    ::tzset();
    const auto seconds = std::chrono::floor<std::chrono::seconds>(instant).time_since_epoch().count();
    const auto local = split(seconds);
    return {local.tm_year + 1900, local.tm_mon + 1, local.tm_mday, local.tm_hour, local.tm_min, local.tm_sec};
}

// The earliest second whose local time is at or after the one asked for: in a gap that is the gap's end, and of two
// equal local times the first. mktime leaves both to chance.
WallTime SystemCalendar::instant(const LocalFields& fields) const {
    ::tzset();
    std::tm asked{};
    asked.tm_year = fields.year - 1900;
    asked.tm_mon = fields.month - 1;
    asked.tm_mday = fields.day;
    asked.tm_hour = fields.hour;
    asked.tm_min = fields.minute;
    asked.tm_sec = fields.second;
    const time_t local = ::timegm(&asked);

    const auto earliest = local - kFarthestOffset;
    const auto latest = local + kFarthestOffset;
    const auto before = local - offsetAt(earliest);
    const auto after = local - offsetAt(latest);
    time_t found = std::min(before, after);
    if (found + offsetAt(found) != local) found = std::max(before, after);
    if (found + offsetAt(found) != local) found = firstChange(earliest, latest);
    return WallTime{std::chrono::seconds{found}};
}

Subscription SystemCalendar::onZoneChange(std::function<void()> callback) {
    if (const auto file = zoneFile(); descriptors_ && !watch_ && !file.empty()) {
        watch_.emplace(*descriptors_, [this] {
            forgetZone();
            zoneChanges_.deliver();
        });
        static_cast<void>(watch_->watch({file}));
    }
    return zoneChanges_.add(std::move(callback));
}

}  // namespace dravo::posix
