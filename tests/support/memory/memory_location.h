#pragma once

#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "base/observable.h"
#include "schedule/location_service.h"

namespace dravo::memory {

/// A location service that says what it is told to, and counts what it is asked.
class MemoryLocationService final : public LocationService {
public:
    LocationAuthorization authorization() const override { return authorization_; }
    void requestWhenInUseAuthorization() override { ++permissionRequests; }
    void refreshAuthorization() override { ++looks; }
    void requestLocation() override { ++fixRequests; }
    void cancelRequest() override { ++cancellations; }
    Subscription onAuthorizationChange(std::function<void()> callback) override {
        return authorizations_.add(std::move(callback));
    }
    Subscription onLocations(std::function<void(const std::vector<Position>&)> callback) override {
        return locations_.add(std::move(callback));
    }
    Subscription onFailure(std::function<void(const Error&)> callback) override {
        return failures_.add(std::move(callback));
    }

    /// What is true before anybody hears of it.
    void assume(LocationAuthorization authorization) { authorization_ = authorization; }
    void authorize(LocationAuthorization authorization) {
        authorization_ = authorization;
        authorizations_.deliver();
    }
    void deliver(const std::vector<Position>& positions) { locations_.deliver(positions); }
    void fail(ErrorCode code) { failures_.deliver({code, "told to fail"}); }

    int permissionRequests = 0;
    int looks = 0;
    int fixRequests = 0;
    int cancellations = 0;

private:
    LocationAuthorization authorization_ = LocationAuthorization::notDetermined;
    SubscriberList<> authorizations_;
    SubscriberList<const std::vector<Position>&> locations_;
    SubscriberList<const Error&> failures_;
};

/// The place of the zone that a test is in.
class MemoryZonePosition final : public ZonePositionSource {
public:
    Result<ZonePosition> current() override {
        if (position) return *position;
        return Error{ErrorCode::NotFound, "this zone has no place"};
    }

    std::optional<ZonePosition> position;
};

}  // namespace dravo::memory
