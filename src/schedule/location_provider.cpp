#include "schedule/location_provider.h"

#include <cmath>
#include <utility>

#include "base/localized.h"

namespace dravo {

using namespace std::chrono_literals;

namespace {

constexpr auto kRetryDelay = 20s;

bool isRefused(LocationAuthorization authorization) {
    return authorization == LocationAuthorization::restricted || authorization == LocationAuthorization::denied;
}

}  // namespace

bool isOnEarth(const Position& position) {
    return std::abs(position.latitude) <= 90 && std::abs(position.longitude) <= 180;
}

Result<void> requireOnEarth(const Position& position) {
    if (isOnEarth(position)) return {};
    return Error{ErrorCode::InvalidInput,
                 textKey("latitude lies from -90 to 90 and longitude from -180 to 180 degrees")};
}

LocationProvider::LocationProvider(Scheduler& scheduler, PreferencesStore& preferences, LocationService& service,
                                   ZonePositionSource& zones, Calendar& calendar)
    : scheduler_(scheduler), preferences_(preferences), service_(service), zones_(zones) {
    if (hasStoredPosition()) status_ = Status::available;
    authorizationSubscription_ = service_.onAuthorizationChange([this] { authorizationChanged(); });
    locationsSubscription_ = service_.onLocations([this](const auto& positions) { locationsDelivered(positions); });
    failureSubscription_ = service_.onFailure([this](const Error& error) { requestFailed(error); });
    outsideSubscription_ = preferences_.onOutsideChange([this](const DefaultsKeys& keys) { outsideChange(keys); });
    zoneSubscription_ = calendar.onZoneChange([this] { followZone(); });
}

void LocationProvider::start() {
    if (preferences_.locationSource() == LocationSource::zone) {
        // Later, because the database is a file to read and a start may be under way.
        zoneLook_ = scheduler_.after(0s, [this] { followZone(); });
    }
    if (!isAskingService()) {
        if (hasStoredPosition()) status_ = Status::available;
        return;
    }
    const auto authorization = service_.authorization();
    if (isRefused(authorization)) {
        accessRefused();
        service_.refreshAuthorization();
    } else if (authorization == LocationAuthorization::notDetermined) {
        status_ = Status::waiting;
        service_.requestWhenInUseAuthorization();
    } else {
        if (status_ != Status::available) status_ = Status::waiting;
        service_.requestLocation();
    }
}

void LocationProvider::startIfScheduled() {
    if (preferences_.scheduleEnabled() && preferences_.scheduleMode() == ScheduleMode::sunsetToSunrise) start();
}

Result<void> LocationProvider::useTyped(const Position& position) {
    if (auto refused = requireOnEarth(position); !refused) return refused;
    stopAsking();
    preferences_.setLocationSource(LocationSource::typed);
    store(position);
    return {};
}

Result<ZonePosition> LocationProvider::useZone() {
    auto found = zones_.current();
    if (!found) return found;
    stopAsking();
    preferences_.setLocationSource(LocationSource::zone);
    store(found->position);
    return found;
}

void LocationProvider::useService() {
    zoneLook_.cancel();
    preferences_.setLocationSource(LocationSource::service);
    startIfScheduled();
}

void LocationProvider::authorizationChanged() {
    if (!isAskingService()) return;
    const auto authorization = service_.authorization();
    if (isRefused(authorization)) {
        accessRefused();
    } else if (authorization == LocationAuthorization::authorizedAlways) {
        status_ = Status::waiting;
        service_.requestLocation();
    }
}

void LocationProvider::locationsDelivered(const std::vector<Position>& positions) {
    if (positions.empty() || !isAskingService()) return;
    const auto latest = positions.back();
    if (isOnEarth(latest))
        store(latest);
    else
        requestFailed({ErrorCode::Internal, "the location service named no place on earth"});
}

void LocationProvider::requestFailed(const Error& error) {
    if (!isAskingService()) return;
    if (preferences_.lastLatitude())
        status_ = Status::available;
    else if (error.code == ErrorCode::PermissionDenied)
        status_ = Status::denied;
    else
        scheduleRetry();
}

void LocationProvider::outsideChange(const DefaultsKeys& keys) {
    using namespace preference;
    if (keys.contains(kLocationSource)) {
        stopAsking();
        status_ = hasStoredPosition() ? Status::available : Status::idle;
        followZone();
    }
    if (keys.contains(kLocationSource) || keys.contains(kScheduleEnabled) || keys.contains(kScheduleMode))
        startIfScheduled();
    if (!keys.contains(kLastLatitude) && !keys.contains(kLastLongitude)) return;
    if (hasStoredPosition()) status_ = Status::available;
    if (onUpdate_) onUpdate_();
}

void LocationProvider::followZone() {
    if (preferences_.locationSource() != LocationSource::zone) return;
    const auto found = zones_.current();
    if (!found) return;
    const bool isStored = preferences_.lastLatitude() == found->position.latitude &&
                          preferences_.lastLongitude() == found->position.longitude;
    if (!isStored) store(found->position);
}

void LocationProvider::scheduleRetry() {
    retry_ = scheduler_.after(kRetryDelay, [this] { service_.requestLocation(); });
}

void LocationProvider::stopAsking() {
    retry_.cancel();
    zoneLook_.cancel();
    service_.cancelRequest();
}

void LocationProvider::store(const Position& position) {
    preferences_.setLastLatitude(position.latitude);
    preferences_.setLastLongitude(position.longitude);
    status_ = Status::available;
    if (onUpdate_) onUpdate_();
}

void LocationProvider::accessRefused() { status_ = preferences_.lastLatitude() ? Status::available : Status::denied; }

bool LocationProvider::hasStoredPosition() const {
    return preferences_.lastLatitude().has_value() && preferences_.lastLongitude().has_value();
}

bool LocationProvider::isAskingService() const { return preferences_.locationSource() == LocationSource::service; }

}  // namespace dravo
