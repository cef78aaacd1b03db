#pragma once

#include <functional>
#include <string>
#include <vector>

#include "base/probe.h"
#include "base/result.h"
#include "base/subscription.h"

namespace dravo {

/// A place on earth in degrees: latitude -90..90 (north positive), longitude -180..180 (east positive).
struct Position {
    double latitude = 0;
    double longitude = 0;
    bool operator==(const Position&) const = default;
};

/// False for what is not finite or beyond the poles or the date line.
[[nodiscard]] bool isOnEarth(const Position& position);

/// The same with a sentence for whoever named the place. Errors: `InvalidInput`.
[[nodiscard]] Result<void> requireOnEarth(const Position& position);

/// Whether this program may ask where it is; the values are the platform's numbers.
enum class LocationAuthorization {
    notDetermined = 0,        ///< Nobody has asked yet.
    restricted = 1,           ///< This machine cannot tell, or its policy forbids asking.
    denied = 2,               ///< The person said no.
    authorizedAlways = 3,     ///< Granted.
    authorizedWhenInUse = 4,  ///< Granted while the program is in front; desktops do not tell these apart.
};

/// The system's own knowledge of where the machine stands, to the accuracy of a city.
///
/// One fix at a time: nothing is tracked, and between requests nothing runs. Nothing is connected before the first
/// request. Callbacks come from the loop, never inside a call of this interface.
///
/// Thread: main thread. Lifetime: outlives its subscriptions.
class LocationService : public Probed {
public:
    /// What is known so far, without asking anybody.
    [[nodiscard]] virtual LocationAuthorization authorization() const = 0;

    /// Asks for permission; the answer arrives through `onAuthorizationChange`, or `onFailure` if there is none.
    virtual void requestWhenInUseAuthorization() = 0;

    /// Looks again, quietly, whether a refusal or a missing service still holds; only a difference is told.
    virtual void refreshAuthorization() = 0;

    /// Asks for one fix. It ends in `onLocations` or `onFailure`; a request during a request joins it.
    virtual void requestLocation() = 0;

    /// Drops the request, if any: it ends in nothing.
    virtual void cancelRequest() = 0;

    [[nodiscard]] virtual Subscription onAuthorizationChange(std::function<void()> callback) = 0;

    /// Fixes, the most recent last. May be empty, and may hold what is no place on earth.
    [[nodiscard]] virtual Subscription onLocations(std::function<void(const std::vector<Position>&)> callback) = 0;

    /// `PermissionDenied`: the person refused. Every other code: no fix this time, asking again later may help.
    [[nodiscard]] virtual Subscription onFailure(std::function<void(const Error&)> callback) = 0;
};

/// The principal place of a time zone, as the zone database has it.
struct ZonePosition {
    std::string zone;  ///< e.g. "Europe/Berlin".
    Position position;
};

/// A rough position without any service: that of the system's time zone.
class ZonePositionSource {
public:
    virtual ~ZonePositionSource() = default;

    /// Reads the system's zone anew. Errors: `NotFound` (the zone has no name, or no place: "Etc/UTC").
    [[nodiscard]] virtual Result<ZonePosition> current() = 0;
};

}  // namespace dravo
