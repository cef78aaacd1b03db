#pragma once

#include <string>
#include <vector>

#include "platform/dbus/bus.h"
#include "schedule/location_service.h"

namespace dravo::dbus {

/// The position that GeoClue finds, to the accuracy of a city; the client is given back after each fix.
///
/// GeoClue asks nobody for programs outside a sandbox: it grants, or it refuses. A grant reads as authorised always; a
/// refusal as denied; no such service, or none that may answer (no agent for this user), as restricted. A missing
/// service is not asked again: its name is watched, and when it appears what was asked for goes on. A service that
/// dies, finds nothing in time or answers with another error, be it at the first question, has failed: that says
/// nothing about permission, and asking again later may help.
///
/// Lifetime: what it is given outlives it.
class GeoclueLocationService final : public LocationService {
public:
    /// `desktopId` is the name of the program's desktop file, under which the desktop lists who may ask.
    GeoclueLocationService(Bus& systemBus, Scheduler& scheduler, std::string desktopId,
                           std::chrono::milliseconds fixTimeout = std::chrono::seconds{30});

    LocationAuthorization authorization() const override { return authorization_; }
    void requestWhenInUseAuthorization() override;
    void refreshAuthorization() override;
    void requestLocation() override;
    void cancelRequest() override;
    Subscription onAuthorizationChange(std::function<void()> callback) override;
    Subscription onLocations(std::function<void(const std::vector<Position>&)> callback) override;
    Subscription onFailure(std::function<void(const Error&)> callback) override;
    /// Asks for no position.
    Subscription probe(Found found) override;

private:
    void begin();
    void prepareClient(const char* path);
    void started(const Bus::Answer& answer);
    void readLocation(const std::string& path);
    void locationRead(const Bus::Answer& answer);
    void failed(const Error& error);
    void end();
    void nameChanged(bool isOwned);
    void setAuthorization(LocationAuthorization authorization);

    Bus& bus_;
    Scheduler& scheduler_;
    std::string desktopId_;
    std::chrono::milliseconds fixTimeout_;
    LocationAuthorization authorization_ = LocationAuthorization::notDetermined;
    bool isRunning_ = false;   ///< From the first call to GeoClue until its client is given back.
    bool hasStarted_ = false;  ///< GeoClue has granted this run.
    bool wantsFix_ = false;
    bool isAwaited_ = false;  ///< Somebody is to be told if this fails.
    bool isOffered_ = false;  ///< Somebody owns GeoClue's name.
    std::string client_;
    std::string newest_;  ///< The location object announced last in this run.
    SubscriberList<> authorizations_;
    SubscriberList<const std::vector<Position>&> locations_;
    SubscriberList<const Error&> failures_;
    Timer timer_;
    Subscription answer_;
    Subscription updates_;
    Subscription name_;
};

}  // namespace dravo::dbus
