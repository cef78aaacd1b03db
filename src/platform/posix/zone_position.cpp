#include "platform/posix/zone_position.h"

#include <charconv>
#include <optional>
#include <string_view>
#include <system_error>
#include <utility>
#include <vector>

#include "base/files.h"
#include "base/localized.h"
#include "base/split.h"
#include "platform/posix/system_calendar.h"

namespace dravo::posix {

namespace {

constexpr std::size_t kLargestTable = 1 << 20;
constexpr std::size_t kLongestName = 4096;

// Sign, degrees of `degreeDigits` digits, minutes, and seconds if two digits more.
std::optional<double> parseAngle(std::string_view text, std::size_t degreeDigits) {
    const auto length = text.size();
    if (length != degreeDigits + 3 && length != degreeDigits + 5) return std::nullopt;
    const auto number = [&](std::size_t from, std::size_t digits) {
        int value = -1;
        const auto* end = text.data() + from + digits;
        const auto [stop, error] = std::from_chars(text.data() + from, end, value);
        return error == std::errc{} && stop == end ? value : -1;
    };
    const int degrees = number(1, degreeDigits);
    const int minutes = number(1 + degreeDigits, 2);
    const int seconds = length == degreeDigits + 5 ? number(3 + degreeDigits, 2) : 0;
    if (degrees < 0 || minutes < 0 || minutes > 59 || seconds < 0 || seconds > 59) return std::nullopt;
    const double angle = degrees + minutes / 60.0 + seconds / 3600.0;
    return text.front() == '-' ? -angle : angle;
}

std::string nameUnder(const std::filesystem::path& database, const std::filesystem::path& file) {
    const auto relative = file.lexically_relative(database).string();
    // Some systems keep the same zones twice more, with and without leap seconds.
    for (const std::string_view copy : {"posix/", "right/"})
        if (relative.starts_with(copy)) return relative.substr(copy.size());
    return relative.starts_with("..") ? std::string{} : relative;
}

std::optional<Position> findIn(const std::filesystem::path& table, std::string_view zone) {
    const auto text = readFile(table, kLargestTable);
    if (!text) return std::nullopt;
    for (const auto line : splitAt('\n', *text)) {
        if (line.starts_with('#')) continue;
        const auto columns = splitAt('\t', line);
        if (columns.size() < 3 || columns[2] != zone) continue;
        if (const auto position = parseZoneCoordinates(columns[1])) return *position;
    }
    return std::nullopt;
}

}  // namespace

Result<Position> parseZoneCoordinates(std::string_view text) {
    const auto second = text.find_first_of("+-", 1);
    if (second != std::string_view::npos && (text.front() == '+' || text.front() == '-')) {
        const auto latitude = parseAngle(text.substr(0, second), 2);
        const auto longitude = parseAngle(text.substr(second), 3);
        const auto position = Position{latitude.value_or(0), longitude.value_or(0)};
        if (latitude && longitude && isOnEarth(position)) return position;
    }
    return Error{ErrorCode::InvalidInput, "these are no coordinates: " + std::string(text)};
}

ZoneTablePosition::ZoneTablePosition(std::filesystem::path database) : database_(std::move(database)) {}

std::string ZoneTablePosition::zoneName() const {
    std::error_code error;
    auto file = zoneFile();
    if (file.empty()) return {};
    if (auto name = nameUnder(database_, file); !name.empty()) return name;
    // Link by link: a zone's own file may be a link again, to a name that nobody chose.
    for (int links = 0; links < 8 && std::filesystem::is_symlink(file, error); ++links) {
        file = (file.parent_path() / std::filesystem::read_symlink(file, error)).lexically_normal();
        if (auto name = nameUnder(database_, file); !name.empty()) return name;
    }
    const auto text = readFile("/etc/timezone", kLongestName);
    return text ? text->substr(0, text->find_first_of(" \t\r\n")) : std::string{};
}

Result<ZonePosition> ZoneTablePosition::of(const std::string& zone) const {
    // An alias is a link to its zone, or has none: then only its own name can be looked up.
    std::error_code error;
    const auto target = std::filesystem::canonical(database_ / zone, error);
    const auto base = std::filesystem::canonical(database_, error);
    const auto aliased = error ? std::string{} : nameUnder(base, target);
    for (const auto& name : {zone, aliased})
        for (const char* table : {"zone1970.tab", "zone.tab"})
            if (const auto position = findIn(database_ / table, name)) return ZonePosition{zone, *position};
    return Error{ErrorCode::NotFound, zone.empty() ? Sentence(textKey("the time zone of this system has no place"))
                                                   : Sentence(textKey("the time zone %@ has no place"), {zone})};
}

Result<ZonePosition> ZoneTablePosition::current() { return of(zoneName()); }

}  // namespace dravo::posix
