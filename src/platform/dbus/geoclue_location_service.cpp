#include "platform/dbus/geoclue_location_service.h"

#include <limits>
#include <string_view>
#include <utility>

namespace dravo::dbus {

namespace {

constexpr const char* kService = "org.freedesktop.GeoClue2";
constexpr const char* kManagerPath = "/org/freedesktop/GeoClue2/Manager";
constexpr const char* kManager = "org.freedesktop.GeoClue2.Manager";
constexpr const char* kClient = "org.freedesktop.GeoClue2.Client";
constexpr const char* kLocation = "org.freedesktop.GeoClue2.Location";
constexpr const char* kProperties = "org.freedesktop.DBus.Properties";
constexpr std::uint32_t kCityAccuracy = 4;

// It has to be started, and waits five seconds for an agent of its own.
constexpr std::chrono::seconds kAnswerTimeout{15};

}  // namespace

GeoclueLocationService::GeoclueLocationService(Bus& systemBus, Scheduler& scheduler, std::string desktopId,
                                               std::chrono::milliseconds fixTimeout)
    : bus_(systemBus), scheduler_(scheduler), desktopId_(std::move(desktopId)), fixTimeout_(fixTimeout) {}

void GeoclueLocationService::requestWhenInUseAuthorization() {
    isAwaited_ = true;
    begin();
}

void GeoclueLocationService::refreshAuthorization() { begin(); }

void GeoclueLocationService::requestLocation() {
    isAwaited_ = wantsFix_ = true;
    begin();
}

void GeoclueLocationService::cancelRequest() {
    isAwaited_ = wantsFix_ = false;
    isOffered_ = false;
    name_.reset();
    end();
}

Subscription GeoclueLocationService::onAuthorizationChange(std::function<void()> callback) {
    return authorizations_.add(std::move(callback));
}

Subscription GeoclueLocationService::onLocations(std::function<void(const std::vector<Position>&)> callback) {
    return locations_.add(std::move(callback));
}

Subscription GeoclueLocationService::onFailure(std::function<void(const Error&)> callback) {
    return failures_.add(std::move(callback));
}

// What it grants shows only when it is asked for a position; so this tells of the last refusal.
Subscription GeoclueLocationService::probe(Found found) {
    if (authorization_ == LocationAuthorization::denied) {
        constexpr TextKey kDenied = textKey("the desktop does not let Dravo ask for it");
        constexpr TextKey kAllow = textKey("Allow it in the desktop's settings for privacy");
        found({{}, Sentence{kDenied}, Sentence{kAllow}});
        return {};
    }
    bus_.open();  // on an absent bus there is no service either
    return bus_.findService(kService, kAnswerTimeout, [found = std::move(found)](bool isThere) {
        constexpr TextKey kAbsent = textKey("there is no location service");
        constexpr TextKey kInstall =
            textKey("Install GeoClue, type your position in the panel, or take the time zone's");
        found(isThere ? Finding{"geoclue"} : Finding{{}, Sentence{kAbsent}, Sentence{kInstall}, "dravo location zone"});
    });
}

void GeoclueLocationService::begin() {
    if (std::exchange(isRunning_, true)) return;
    // From the loop, as every answer: opening the bus is no part of anybody's start either.
    timer_ = scheduler_.after({}, [this] {
        if (!bus_.open()) return failed({ErrorCode::NotFound, "there is no system bus"});
        if (!name_) name_ = bus_.watchName(kService, [this](bool isOwned) { nameChanged(isOwned); });
        answer_ = bus_.call(bus_.newCall(kService, kManagerPath, kManager, "GetClient"), kAnswerTimeout,
                            [this](const Bus::Answer& answer) {
                                const char* path = nullptr;
                                if (!answer) return failed(answer.error());
                                if (sd_bus_message_read(*answer, "o", &path) < 0)
                                    return failed({ErrorCode::Internal, "GeoClue gave no client"});
                                prepareClient(path);
                            });
    });
}

void GeoclueLocationService::prepareClient(const char* path) {
    client_ = path;
    updates_ = bus_.onSignal(ruleFor(kService, client_, kClient, "LocationUpdated"), [this](sd_bus_message* signal) {
        const char* location = nullptr;
        if (sd_bus_message_read(signal, "oo", nullptr, &location) < 0) return;
        newest_ = location;
        if (hasStarted_) readLocation(newest_);
    });
    // Settings and start are carried out in the order in which they are sent.
    bus_.send(bus_.newCall(kService, path, kProperties, "Set", "ssv", kClient, "DesktopId", "s", desktopId_.c_str()));
    bus_.send(
        bus_.newCall(kService, path, kProperties, "Set", "ssv", kClient, "RequestedAccuracyLevel", "u", kCityAccuracy));
    answer_ = bus_.call(bus_.newCall(kService, path, kClient, "Start"), kAnswerTimeout,
                        [this](const Bus::Answer& answer) { started(answer); });
}

void GeoclueLocationService::started(const Bus::Answer& answer) {
    if (!answer) return failed(answer.error());
    hasStarted_ = true;
    setAuthorization(LocationAuthorization::authorizedAlways);
    isAwaited_ = wantsFix_;
    if (!wantsFix_) return end();
    timer_ = scheduler_.after(fixTimeout_, [this] { failed({ErrorCode::Busy, "GeoClue found no position in time"}); });
    if (!newest_.empty()) readLocation(newest_);
}

void GeoclueLocationService::readLocation(const std::string& path) {
    answer_ = bus_.call(bus_.newCall(kService, path.c_str(), kProperties, "GetAll", "s", kLocation), kAnswerTimeout,
                        [this](const Bus::Answer& read) { locationRead(read); });
}

void GeoclueLocationService::locationRead(const Bus::Answer& answer) {
    if (!answer) return failed(answer.error());
    constexpr double kNowhere = std::numeric_limits<double>::quiet_NaN();
    Position position{kNowhere, kNowhere};
    readDictionary(*answer, [&](const char* key, const char* signature, sd_bus_message* value) {
        if (std::string_view(signature) != "d") return;
        if (std::string_view(key) == "Latitude") sd_bus_message_read(value, "d", &position.latitude);
        if (std::string_view(key) == "Longitude") sd_bus_message_read(value, "d", &position.longitude);
    });
    isAwaited_ = wantsFix_ = false;
    end();
    locations_.deliver({position});
}

void GeoclueLocationService::failed(const Error& error) {
    // The one refusal that is not the person's: an agent is required and none runs. It is told by its text alone.
    const bool lacksAgent = error.message.plain.find("no agent") != std::string::npos;
    const bool isRefused = error.code == ErrorCode::PermissionDenied && !lacksAgent;
    const bool isMissing = error.code == ErrorCode::NotFound || lacksAgent;
    const bool wasAwaited = std::exchange(isAwaited_, false);
    wantsFix_ = false;
    end();
    if (isRefused || isMissing) {
        setAuthorization(isRefused ? LocationAuthorization::denied : LocationAuthorization::restricted);
    } else if (wasAwaited) {
        failures_.deliver(error);
    }
}

void GeoclueLocationService::end() {
    timer_.cancel();
    answer_.reset();
    updates_.reset();
    if (!client_.empty()) {
        bus_.send(bus_.newCall(kService, client_.c_str(), kClient, "Stop"));
        bus_.send(bus_.newCall(kService, kManagerPath, kManager, "DeleteClient", "o", client_.c_str()));
    }
    client_.clear();
    newest_.clear();
    isRunning_ = false;
    hasStarted_ = false;
}

void GeoclueLocationService::nameChanged(bool isOwned) {
    const bool wasOffered = std::exchange(isOffered_, isOwned);
    if (isOwned && !wasOffered && authorization_ == LocationAuthorization::restricted)
        return requestWhenInUseAuthorization();
    if (isOwned || !wasOffered || !isRunning_) return;
    client_.clear();  // gone with its service
    failed({ErrorCode::Disconnected, "GeoClue ended"});
}

void GeoclueLocationService::setAuthorization(LocationAuthorization authorization) {
    if (std::exchange(authorization_, authorization) != authorization) authorizations_.deliver();
}

}  // namespace dravo::dbus
