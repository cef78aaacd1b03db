#include "platform/dbus/geoclue_location_service.h"

#include <algorithm>
#include <cmath>
#include <optional>

#include "bus_fixture.h"

namespace dravo::dbus {
namespace {

using namespace std::chrono_literals;
using enum LocationAuthorization;

constexpr const char* kClientPath = "/org/freedesktop/GeoClue2/Client/1";

/// A GeoClue that behaves as each switch says.
struct FakeGeoclue {
    FakeGeoclue(posix::SdEventLoop& loop, const std::string& address)
        : peer(loop, address, "org.freedesktop.GeoClue2",
               [this](std::string_view member, sd_bus_message* call) { return answer(member, call); }) {}

    bool answer(std::string_view member, sd_bus_message* call) {
        if (member == "GetClient") {
            if (ignoresCalls) return true;
            return sd_bus_reply_method_return(call, "o", kClientPath) >= 0;
        }
        if (member == "Set") return setProperty(call);
        if (member == "Start") {
            if (failure) return sd_bus_reply_method_errorf(call, SD_BUS_ERROR_FAILED, "%s", failure) >= 0;
            if (refusal) return sd_bus_reply_method_errorf(call, SD_BUS_ERROR_ACCESS_DENIED, "%s", refusal) >= 0;
            sd_bus_reply_method_return(call, nullptr);
            if (hasFix) announce();
            return true;
        }
        if (member == "GetAll") return replyLocation(call);
        return member == "Stop" || member == "DeleteClient";
    }
    void announce() {
        sd_bus_emit_signal(peer.bus(), kClientPath, "org.freedesktop.GeoClue2.Client", "LocationUpdated", "oo", "/",
                           "/org/freedesktop/GeoClue2/Location/1");
    }
    bool setProperty(sd_bus_message* call) {
        const char* name = nullptr;
        const char* type = nullptr;
        sd_bus_message_read(call, "ss", nullptr, &name);
        sd_bus_message_peek_type(call, nullptr, &type);
        sd_bus_message_enter_container(call, 'v', type);
        const char* text = nullptr;
        if (std::string_view(name) == "DesktopId" && sd_bus_message_read(call, "s", &text) >= 0) desktopId = text;
        if (std::string_view(name) == "RequestedAccuracyLevel") sd_bus_message_read(call, "u", &accuracy);
        return true;
    }
    bool replyLocation(sd_bus_message* call) const {
        if (!hasCoordinates) return sd_bus_reply_method_return(call, "a{sv}", 1, "Description", "s", "somewhere") >= 0;
        return sd_bus_reply_method_return(call, "a{sv}", 4, "Description", "s", "Berlin", "Latitude", "d", 52.5,
                                          "Timestamp", "(tt)", std::uint64_t{1}, std::uint64_t{2}, "Longitude", "d",
                                          13.25) >= 0;
    }
    [[nodiscard]] auto count(std::string_view member) const {
        return std::count(peer.calls.begin(), peer.calls.end(), member);
    }

    const char* failure = nullptr;
    const char* refusal = nullptr;
    bool hasFix = true;
    bool hasCoordinates = true;
    bool ignoresCalls = false;
    std::string desktopId;
    std::uint32_t accuracy = 0;
    testing::BusPeer peer;
};

class GeoclueTest : public testing::BusTest {
protected:
    void startGeoclue() { geoclue.emplace(loop, daemon.address()); }
    bool becomes(LocationAuthorization authorization) {
        return runUntil([&] { return service.authorization() == authorization; });
    }
    /// So many fixes or failures since the start.
    template <typename List>
    bool soonHas(std::size_t count, const List& list) {
        return runUntil([&] { return list.size() == count; });
    }
    bool isCalled(std::string_view member, long times = 1) {
        return runUntil([&] { return geoclue->count(member) == times; });
    }

    Bus bus{loop, loop, Bus::Kind::system};
    std::optional<FakeGeoclue> geoclue;
    GeoclueLocationService service{bus, loop, "org.dravo.Dravo", 50ms};
    int changes = 0;
    std::vector<Position> fixes;
    std::vector<ErrorCode> failures;
    Subscription onChange = service.onAuthorizationChange([this] { ++changes; });
    Subscription onFix = service.onLocations([this](const auto& found) { fixes.push_back(found.back()); });
    Subscription onFailure = service.onFailure([this](const Error& error) { failures.push_back(error.code); });
};

TEST_F(GeoclueTest, AsksForACityUnderTheProgramsNameOnceAndGivesTheClientBack) {
    startGeoclue();
    EXPECT_FALSE(bus.handle()) << "connected before anybody asked";
    service.requestLocation();
    ASSERT_TRUE(soonHas(1, fixes));
    EXPECT_EQ(fixes[0], (Position{52.5, 13.25}));
    EXPECT_EQ(service.authorization(), authorizedAlways);
    EXPECT_EQ(geoclue->desktopId, "org.dravo.Dravo");
    EXPECT_EQ(geoclue->accuracy, 4u);
    ASSERT_TRUE(isCalled("DeleteClient"));
    EXPECT_EQ(geoclue->count("Stop"), 1);
    geoclue->announce();
    settle(bus);
    EXPECT_EQ(fixes.size(), 1u);

    geoclue->hasCoordinates = false;
    service.requestLocation();
    ASSERT_TRUE(soonHas(2, fixes));
    EXPECT_FALSE(isOnEarth(fixes[1]));
}

TEST_F(GeoclueTest, APermissionRequestEndsInAGrantAndLeavesNothingRunning) {
    startGeoclue();
    service.requestWhenInUseAuthorization();
    ASSERT_TRUE(becomes(authorizedAlways));
    EXPECT_EQ(changes, 1);
    EXPECT_TRUE(isCalled("DeleteClient"));
    EXPECT_TRUE(fixes.empty());
}

TEST_F(GeoclueTest, ARequestMadeOnTheGrantJoinsTheRun) {
    startGeoclue();
    const auto ask = service.onAuthorizationChange([this] { service.requestLocation(); });
    service.requestWhenInUseAuthorization();
    ASSERT_TRUE(soonHas(1, fixes));
    EXPECT_EQ(geoclue->count("Start"), 1);
}

TEST_F(GeoclueTest, TellsARefusalFromAMissingAgentAndLooksAgainOnlyWhenAsked) {
    startGeoclue();
    geoclue->refusal = "Geolocation disabled for UID 1000";
    service.requestLocation();
    ASSERT_TRUE(becomes(denied));
    EXPECT_TRUE(failures.empty());
    EXPECT_EQ(geoclue->count("Start"), 1);

    geoclue->refusal = "'org.dravo.Dravo' disallowed, no agent for UID 1000";
    service.refreshAuthorization();
    ASSERT_TRUE(becomes(restricted));
    geoclue->refusal = nullptr;
    settle(bus);
    EXPECT_EQ(geoclue->count("Start"), 2);
    service.refreshAuthorization();
    ASSERT_TRUE(becomes(authorizedAlways));
    EXPECT_EQ(changes, 3);
}

TEST_F(GeoclueTest, AnErrorForAFirstAnswerIsAFailureThatAllowsAnotherTry) {
    startGeoclue();
    geoclue->failure = "no network yet";
    service.requestWhenInUseAuthorization();
    ASSERT_TRUE(soonHas(1, failures));
    service.requestLocation();
    ASSERT_TRUE(soonHas(2, failures));
    EXPECT_EQ(service.authorization(), notDetermined);
    service.refreshAuthorization();
    ASSERT_TRUE(isCalled("Start", 3));
    settle(bus);
    EXPECT_EQ(failures.size(), 2u) << "a quiet look";
    geoclue->failure = nullptr;
    service.requestLocation();
    EXPECT_TRUE(soonHas(1, fixes));
}

TEST_F(GeoclueTest, NoFixInTimeIsAFailureThatAllowsAnotherTry) {
    startGeoclue();
    geoclue->hasFix = false;
    service.requestLocation();
    ASSERT_TRUE(soonHas(1, failures));
    EXPECT_EQ(failures, std::vector{ErrorCode::Busy});
    EXPECT_EQ(service.authorization(), authorizedAlways);
    geoclue->hasFix = true;
    service.requestLocation();
    EXPECT_TRUE(soonHas(1, fixes));
}

TEST_F(GeoclueTest, AServiceThatDiesDuringTheRequestFailsItAndTheNextFindsItAgain) {
    startGeoclue();
    service.requestLocation();
    ASSERT_TRUE(soonHas(1, fixes));  // granted once
    geoclue->ignoresCalls = true;
    service.requestLocation();
    ASSERT_TRUE(isCalled("GetClient", 2));
    geoclue.reset();
    ASSERT_TRUE(soonHas(1, failures));
    EXPECT_EQ(failures, std::vector{ErrorCode::Disconnected});

    service.requestLocation();  // gone for good, for now
    ASSERT_TRUE(becomes(restricted));
    startGeoclue();
    ASSERT_TRUE(becomes(authorizedAlways));
    service.requestLocation();
    EXPECT_TRUE(soonHas(2, fixes));
}

TEST_F(GeoclueTest, ACancelledRequestEndsInNothing) {
    startGeoclue();
    service.requestLocation();
    ASSERT_TRUE(isCalled("Start"));
    service.cancelRequest();
    EXPECT_TRUE(isCalled("DeleteClient"));
    settle(bus);
    EXPECT_TRUE(fixes.empty());
    EXPECT_TRUE(failures.empty());
}

TEST_F(GeoclueTest, ABusThatIsNotThereOrEndsDuringTheRequestDoesNoHarm) {
    startGeoclue();
    geoclue->ignoresCalls = true;
    service.requestLocation();
    ASSERT_TRUE(isCalled("GetClient"));
    daemon.kill();
    ASSERT_TRUE(soonHas(1, failures));
    service.requestLocation();
    ASSERT_TRUE(soonHas(2, failures));
    EXPECT_TRUE(fixes.empty());

    systemBus.set("unix:path=/nonexistent/bus");
    Bus none(loop, loop, Bus::Kind::system);
    GeoclueLocationService alone(none, loop, "org.dravo.Dravo", 50ms);
    alone.requestLocation();
    EXPECT_TRUE(runUntil([&] { return alone.authorization() == restricted; }));
}

}  // namespace
}  // namespace dravo::dbus
