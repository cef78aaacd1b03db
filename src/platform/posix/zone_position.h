#pragma once

#include <filesystem>
#include <string>
#include <string_view>

#include "schedule/location_service.h"

namespace dravo::posix {

/// Places of time zones from the zone database's tables: zone1970.tab, and zone.tab for the names that only it has.
class ZoneTablePosition final : public ZonePositionSource {
public:
    explicit ZoneTablePosition(std::filesystem::path database = "/usr/share/zoneinfo");

    Result<ZonePosition> current() override;

    /// The place of a named zone; an alias ("Asia/Calcutta") has that of the zone it leads to.
    [[nodiscard]] Result<ZonePosition> of(const std::string& zone) const;

    /// The name of the system's zone: `TZ`, else where /etc/localtime leads, else the line in /etc/timezone. Empty
    /// when none of them names one.
    [[nodiscard]] std::string zoneName() const;

private:
    std::filesystem::path database_;
};

/// Latitude and longitude in the tables' form, ISO 6709 with degrees and minutes or degrees, minutes and seconds:
/// "+5230+01322", "-224606-0431042". Errors: `InvalidInput`.
[[nodiscard]] Result<Position> parseZoneCoordinates(std::string_view text);

}  // namespace dravo::posix
