#pragma once

#include <functional>

#include "base/calendar.h"
#include "base/observable.h"
#include "base/scheduler.h"
#include "filter/preferences_store.h"
#include "schedule/location_service.h"

namespace dravo {

/// Keeps the stored position that the sunset schedule reads: from the location service, typed by the person, or taken
/// from the time zone. Holds no position itself, and evaluates nothing.
///
/// While the position is typed or the zone's, the service is not asked; a zone's position follows the system's zone.
/// A position is stored only if it is a place on earth.
///
/// Thread: main thread. Lifetime: everything it is given outlives it.
class LocationProvider {
public:
    enum class Status {
        idle,       ///< Nothing asked yet, no position stored.
        waiting,    ///< Asked for permission or a fix; no answer yet.
        available,  ///< A position is stored, fresh or from an earlier run.
        denied,     ///< No access, and no position stored.
    };

    LocationProvider(Scheduler& scheduler, PreferencesStore& preferences, LocationService& service,
                     ZonePositionSource& zones, Calendar& calendar);
    LocationProvider(const LocationProvider&) = delete;
    LocationProvider& operator=(const LocationProvider&) = delete;

    /// Announces every assignment of `status`.
    [[nodiscard]] const Observable& changes() const { return changes_; }
    [[nodiscard]] const Property<Status>& status() const { return status_; }

    /// `callback` runs whenever a position has been stored or was changed from outside; empty: nobody. Replaces the
    /// one before.
    void setOnUpdate(std::function<void()> callback) { onUpdate_ = std::move(callback); }

    /// Asks for permission or a fix, as the authorisation calls for. For when the schedule needs a position: at start,
    /// when the schedule's view opens and when its mode becomes sunset to sunrise.
    void start();
    /// `start` if the schedule is on and follows the sun. What a person edits in the settings counts by itself.
    void startIfScheduled();

    /// Keeps this position from now on. Errors: `InvalidInput` (no place on earth; everything stays as it was).
    Result<void> useTyped(const Position& position);

    /// Takes the time zone's position, now and after each change of zone; approximate.
    /// Errors: `NotFound` (the zone has no place; everything stays as it was).
    Result<ZonePosition> useZone();

    /// Returns to the location service; asks it at once if the schedule needs a position.
    void useService();

private:
    void authorizationChanged();
    void locationsDelivered(const std::vector<Position>& positions);
    void requestFailed(const Error& error);
    void outsideChange(const DefaultsKeys& keys);
    void followZone();
    void scheduleRetry();
    void stopAsking();
    void store(const Position& position);
    void accessRefused();
    [[nodiscard]] bool hasStoredPosition() const;
    [[nodiscard]] bool isAskingService() const;

    Scheduler& scheduler_;
    PreferencesStore& preferences_;
    LocationService& service_;
    ZonePositionSource& zones_;
    Observable changes_;
    Property<Status> status_{changes_, Status::idle};
    std::function<void()> onUpdate_;
    Timer retry_;
    Timer zoneLook_;
    Subscription authorizationSubscription_;
    Subscription locationsSubscription_;
    Subscription failureSubscription_;
    Subscription outsideSubscription_;
    Subscription zoneSubscription_;
};

}  // namespace dravo
