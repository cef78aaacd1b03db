#include "schedule/location_provider.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <optional>
#include <vector>

#include "support/memory/memory_services.h"
#include "support/memory/memory_user_defaults.h"
#include "support/memory/virtual_scheduler.h"
#include "support/zone_calendar.h"

namespace dravo {
namespace {

using namespace std::chrono_literals;
using enum LocationAuthorization;
using Status = LocationProvider::Status;

constexpr Position kBerlin{52.5, 13.367};
constexpr Position kApia{-13.833, -171.733};

class LocationProviderTest : public ::testing::Test {
protected:
    LocationProvider& provider() {
        if (!provider_) {
            provider_.emplace(scheduler, preferences, service, zones, calendar);
            provider_->setOnUpdate([this] { ++updates; });
        }
        return *provider_;
    }
    /// The person has allowed it.
    void startAsking() {
        service.assume(authorizedAlways);
        provider().start();
    }
    Status status() { return provider().status(); }
    std::optional<Position> stored() {
        const auto latitude = preferences.lastLatitude();
        const auto longitude = preferences.lastLongitude();
        return latitude && longitude ? std::optional(Position{*latitude, *longitude}) : std::nullopt;
    }
    void keep(const Position& position) {
        preferences.setLastLatitude(position.latitude);
        preferences.setLastLongitude(position.longitude);
    }
    void followTheSun() {
        preferences.setScheduleEnabled(true);
        preferences.setScheduleMode(ScheduleMode::sunsetToSunrise);
    }
    void destroyProvider() { provider_.reset(); }

    memory::VirtualScheduler scheduler;
    memory::MemoryUserDefaults defaults;
    PreferencesStore preferences{defaults};
    memory::MemoryLocationService service;
    memory::MemoryZonePosition zones;
    testing::ZoneCalendar calendar;
    int updates = 0;

private:
    std::optional<LocationProvider> provider_;
};

TEST_F(LocationProviderTest, AsksWhenStartedAndGetsAFirstFixAfterPermissionIsGiven) {
    EXPECT_EQ(status(), Status::idle);
    EXPECT_EQ(service.permissionRequests + service.fixRequests + service.looks, 0);
    provider().start();
    EXPECT_EQ(service.permissionRequests, 1);
    EXPECT_EQ(service.fixRequests, 0);
    service.authorize(authorizedAlways);
    EXPECT_EQ(service.fixRequests, 1);
    service.deliver({});
    EXPECT_EQ(status(), Status::waiting);
    service.deliver({kApia, kBerlin});
    EXPECT_EQ(stored(), kBerlin);
    EXPECT_EQ(status(), Status::available);
    EXPECT_EQ(updates, 1);
}

TEST_F(LocationProviderTest, AnswersEachAuthorisationWithAndWithoutAStoredPosition) {
    struct Row {
        LocationAuthorization authorization;
        Status startEmpty, startStored, changeEmpty, changeStored;
        int startFixes, changeFixes;
    };
    const Row rows[] = {
        {notDetermined, Status::waiting, Status::waiting, Status::idle, Status::available, 0, 0},
        {restricted, Status::denied, Status::available, Status::denied, Status::available, 0, 0},
        {denied, Status::denied, Status::available, Status::denied, Status::available, 0, 0},
        {authorizedAlways, Status::waiting, Status::available, Status::waiting, Status::waiting, 1, 1},
        {authorizedWhenInUse, Status::waiting, Status::available, Status::idle, Status::available, 1, 0},
    };
    for (const auto& row : rows) {
        for (const bool hasPosition : {false, true}) {
            SCOPED_TRACE(static_cast<int>(row.authorization) * 10 + hasPosition);
            destroyProvider();
            defaults.replaceFromOutside({});
            if (hasPosition) keep(kBerlin);
            service.fixRequests = 0;
            service.assume(row.authorization);
            provider().start();
            EXPECT_EQ(status(), hasPosition ? row.startStored : row.startEmpty);
            EXPECT_EQ(service.fixRequests, row.startFixes);

            destroyProvider();
            provider();
            service.fixRequests = 0;
            service.authorize(row.authorization);
            EXPECT_EQ(status(), hasPosition ? row.changeStored : row.changeEmpty);
            EXPECT_EQ(service.fixRequests, row.changeFixes);
        }
    }
}

TEST_F(LocationProviderTest, RetriesTwentySecondsAfterTheLastFailureAsLongAsItLives) {
    startAsking();
    service.fail(ErrorCode::Internal);
    scheduler.advance(15s);
    service.fail(ErrorCode::Disconnected);
    EXPECT_EQ(status(), Status::waiting);
    scheduler.advance(20s - 1ms);
    EXPECT_EQ(service.fixRequests, 1);
    scheduler.advance(1ms);
    EXPECT_EQ(service.fixRequests, 2);
    scheduler.advance(1h);
    EXPECT_EQ(service.fixRequests, 2) << "an answer is under way";
    service.fail(ErrorCode::Internal);
    service.deliver({kBerlin});
    scheduler.advance(20s);
    EXPECT_EQ(service.fixRequests, 3) << "also after a fix";
    defaults.replaceFromOutside({});
    service.fail(ErrorCode::Internal);
    destroyProvider();
    scheduler.advance(1h);
    EXPECT_EQ(service.fixRequests, 3);
}

TEST_F(LocationProviderTest, GivesUpAfterARefusalAndLooksAgainWhenItIsStartedAgain) {
    startAsking();
    service.fail(ErrorCode::PermissionDenied);
    EXPECT_EQ(status(), Status::denied);
    scheduler.advance(1h);
    EXPECT_EQ(service.fixRequests, 1);

    keep(kBerlin);
    for (const auto code : {ErrorCode::PermissionDenied, ErrorCode::Internal}) {
        service.fail(code);
        EXPECT_EQ(status(), Status::available);
        scheduler.advance(1h);
        EXPECT_EQ(service.fixRequests, 1);
    }
    service.assume(denied);
    provider().start();
    EXPECT_EQ(service.looks, 1);
}

TEST_F(LocationProviderTest, RefusesWhatIsNoPlaceOnEarth) {
    constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
    startAsking();
    for (const Position bad : {Position{kNaN, 0}, {0, kNaN}, {90.001, 0}, {0, -180.001}}) {
        const auto result = provider().useTyped(bad);
        ASSERT_FALSE(result);
        EXPECT_EQ(result.error().code, ErrorCode::InvalidInput);
        service.deliver({kBerlin, bad});
        EXPECT_EQ(stored(), std::nullopt);
    }
    EXPECT_EQ(status(), Status::waiting);
    EXPECT_EQ(updates, 0);
    EXPECT_TRUE(provider().useTyped({-90, 180}));
}

TEST_F(LocationProviderTest, ATypedPositionStopsTheServiceUntilThePersonReturnsToIt) {
    followTheSun();
    startAsking();
    service.fail(ErrorCode::Internal);
    ASSERT_TRUE(provider().useTyped(kApia));
    EXPECT_EQ(service.cancellations, 1);
    EXPECT_EQ(updates, 1);

    // A fix already on its way, the pending retry, a grant and a new start: none of them asks or moves anything.
    service.deliver({kBerlin});
    scheduler.advance(1h);
    service.authorize(authorizedAlways);
    service.fail(ErrorCode::PermissionDenied);
    provider().start();
    scheduler.advance(1h);
    EXPECT_EQ(stored(), kApia);
    EXPECT_EQ(status(), Status::available);
    EXPECT_EQ(service.fixRequests, 1);

    provider().useService();
    EXPECT_EQ(service.fixRequests, 2);
    service.deliver({kBerlin});
    EXPECT_EQ(stored(), kBerlin);
    preferences.setScheduleEnabled(false);
    provider().useService();
    EXPECT_EQ(service.fixRequests, 2) << "the schedule does not need it";
}

TEST_F(LocationProviderTest, AZonePositionFollowsTheZone) {
    EXPECT_FALSE(provider().useZone());
    EXPECT_EQ(preferences.locationSource(), LocationSource::service);

    zones.position = {"Europe/Berlin", kBerlin};
    ASSERT_TRUE(provider().useZone());
    EXPECT_EQ(stored(), kBerlin);
    zones.position = {"Pacific/Apia", kApia};
    calendar.moveTo("Pacific/Apia");
    EXPECT_EQ(stored(), kApia);
    EXPECT_EQ(updates, 2);
    zones.position.reset();  // a zone without a place: the last one is better than none
    calendar.moveTo("Pacific/Apia");
    EXPECT_EQ(stored(), kApia);

    zones.position = {"Europe/Berlin", kBerlin};  // moved while the program was not running
    destroyProvider();
    provider().start();
    EXPECT_EQ(stored(), kApia) << "never inside the start";
    scheduler.advance(0s);
    EXPECT_EQ(stored(), kBerlin);
    EXPECT_EQ(service.permissionRequests + service.fixRequests, 0);

    ASSERT_TRUE(provider().useTyped(kApia));
    calendar.moveTo("Pacific/Apia");
    EXPECT_EQ(stored(), kApia);
}

TEST_F(LocationProviderTest, TakesUpAHandEditOfWhatItFollows) {
    const auto edit = [this](DefaultsValues changes) {
        for (const auto& [key, value] : defaults.values()) changes.emplace(key, value);
        defaults.replaceFromOutside(changes);
    };
    service.assume(authorizedAlways);
    provider();
    edit({{"scheduleMode", std::int64_t{1}}});
    EXPECT_EQ(service.fixRequests, 0) << "the schedule is off";
    edit({{"scheduleEnabled", true}});
    EXPECT_EQ(status(), Status::waiting);
    EXPECT_EQ(service.fixRequests, 1);
    edit({{"scheduleMode", std::int64_t{0}}});
    edit({{"lastDimming", 0.5}});
    EXPECT_EQ(service.fixRequests, 1);
    edit({{"scheduleMode", std::int64_t{1}}});
    EXPECT_EQ(service.fixRequests, 2);

    service.fail(ErrorCode::Internal);
    edit({{"locationSource", "typed"}, {"lastLatitude", kApia.latitude}, {"lastLongitude", kApia.longitude}});
    EXPECT_EQ(status(), Status::available);
    EXPECT_EQ(updates, 1);
    scheduler.advance(1h);
    EXPECT_EQ(service.fixRequests, 2);
    defaults.replaceFromOutside({{"scheduleEnabled", true}, {"scheduleMode", std::int64_t{1}}});
    EXPECT_EQ(status(), Status::waiting);
    EXPECT_EQ(service.fixRequests, 3);
}

}  // namespace
}  // namespace dravo
