#include <unistd.h>
#include <future>
#include <limits>
#include <mutex>
#include <optional>
#include <thread>

#include "bus_fixture.h"
#include "bus_peer.h"
#include "platform/dbus/bus_control_client.h"
#include "platform/dbus/bus_control_service.h"
#include "platform/dbus/control_interface.h"
#include "support/noted_control.h"

namespace dravo::dbus {
namespace {

using namespace std::chrono_literals;

constexpr WallTime kNoon = std::chrono::sys_days{std::chrono::year{2026} / 11 / 22} + 12h;

ControlState fullState() {
    ControlState state;
    state.isEnabled = true;
    state.preset = "fl41";
    state.intensity = 0.1;
    state.dimming = 0.2;
    state.blackPoint = 0.05;
    state.contrast = -0.5;
    state.isEdited = true;
    state.pausedUntil = kNoon + 1us;
    state.melanopicReduction = 43.25;
    state.schedule = {true, ScheduleMode::sunsetToSunrise, 1439, 1};
    state.nextChange = {kNoon, true};
    state.breaks = {true, 20, 1199, 7};
    state.location = {LocationSource::zone, "available", 52.5, -13.25};
    state.displays = {{DisplayId{4294967295}, "DP-1", 1024, ""}, {DisplayId{7}, "Büro", 0, "It has no table."}};
    return state;
}

void expectSame(const ControlState& got, const ControlState& wanted) {
    for (const auto& property : control::properties()) EXPECT_FALSE(property.differs(got, wanted)) << property.name;
}

/// A running program that notes what it is asked for.
class FakeTarget final : public dravo::testing::NotedControl<ControlTarget> {
public:
    ControlState controlState() const override { return state; }
    Subscription onStateChange(std::function<void()> callback) override { return changes.add(std::move(callback)); }
    Result<std::vector<std::string>> importPresets(const std::string& text) override {
        EXPECT_TRUE(note("import " + text));
        return std::vector<std::string>{"one", "two"};
    }
    Result<std::string> exportPresets(const std::vector<std::string>& ids) override {
        return ids.empty() ? "[]" : "[" + ids.back() + "]";
    }

    std::string lastCall() {
        const std::lock_guard lock(mutex_);
        return std::exchange(last_, {});
    }

    ControlState state = fullState();
    SubscriberList<> changes;

private:
    Result<void> note(std::string call) override {
        const std::lock_guard lock(mutex_);
        last_ = std::move(call);
        return {};
    }

    std::mutex mutex_;
    std::string last_;
};

/// The program on a thread of its own, for clients that wait for answers.
class Program {
public:
    Program() {
        std::promise<void> isUp;
        thread_ = std::thread([this, &isUp] { run(isUp); });
        isUp.get_future().wait();
    }
    ~Program() {
        inLoop([this] { loop_->quit(0); });
        thread_.join();
    }
    /// Runs `action` on the program's thread and waits for it.
    void inLoop(std::function<void()> action) {
        const std::lock_guard lock(mutex_);
        std::promise<void> isDone;
        task_ = [&] {
            action();
            isDone.set_value();
        };
        const char bell = 0;
        if (::write(bell_[1], &bell, 1) == 1) isDone.get_future().wait();
    }

    FakeTarget target;

private:
    void run(std::promise<void>& isUp) {
        posix::SdEventLoop loop;
        loop_ = &loop;
        if (::pipe(bell_) != 0) return;
        const auto rings = loop.whenReadable(bell_[0], [this] {
            char bell = 0;
            if (::read(bell_[0], &bell, 1) == 1) std::exchange(task_, nullptr)();
        });
        Bus bus(loop, loop, Bus::Kind::session);
        BusControlService service(bus, loop);
        service.serve(target);
        const auto watch = loop.after(0ms, [&] {
            name_ = bus.watchName(control::kBusName, [&](bool isOwned) {
                if (isOwned && !std::exchange(isKnown_, true)) isUp.set_value();
            });
        });
        loop.run();
        name_.reset();
        ::close(bell_[0]);
        ::close(bell_[1]);
    }

    posix::SdEventLoop* loop_ = nullptr;
    bool isKnown_ = false;
    int bell_[2] = {-1, -1};
    std::mutex mutex_;
    std::function<void()> task_;
    Subscription name_;
    std::thread thread_;
};

class BusControlTest : public testing::BusTest {
protected:
    BusControlClient client;
};

TEST_F(BusControlTest, TheWholeStateTravels) {
    Program program;
    auto state = client.state();
    ASSERT_TRUE(state) << state.error().message;
    expectSame(*state, fullState());

    program.inLoop([&] { program.target.state = {}; });
    state = client.state();
    ASSERT_TRUE(state);
    expectSame(*state, {});
}

TEST_F(BusControlTest, EveryOperationArrivesWithItsArguments) {
    Program program;
    static constexpr ScheduleChange kSun{true, ScheduleMode::sunsetToSunrise, 5, 6};
    static constexpr LocationChange kTyped{LocationSource::typed, Position{12.5, 0}};
    struct Row {
        std::function<Result<void>(ControlClient&)> call;
        std::string arrives;
    };
    const Row rows[] = {
        {[](auto& c) { return c.toggle(); }, "toggle"},
        {[](auto& c) { return c.switchOn(); }, "on"},
        {[](auto& c) { return c.switchOff(); }, "off"},
        {[](auto& c) { return c.pause(15min); }, "pause 900"},
        {[](auto& c) { return c.pause(kNoon + 90s); }, "pause until " + FakeTarget::secondsOf(kNoon + 90s)},
        {[](auto& c) { return c.pause(UntilMorning{}); }, "pause morning"},
        {[](auto& c) { return c.resume(); }, "resume"},
        {[](auto& c) { return c.selectPreset("fl41"); }, "preset fl41"},
        {[](auto& c) { return c.setAdjustments({.dimming = 0.5, .contrast = -0.25}); }, "set - 0.5 - -0.25"},
        {[](auto& c) { return c.setSchedule({.enabled = false}); }, "schedule 0 - - -"},
        {[](auto& c) { return c.setSchedule(kSun); }, "schedule 1 sunsetToSunrise 5 6"},
        {[](auto& c) { return c.setLocation(kTyped); }, "location typed 12.5 0"},
        {[](auto& c) { return c.setLocation({.source = LocationSource::zone}); }, "location zone"},
        {[](auto& c) { return c.setBreaks({.enabled = true, .intervalMinutes = 45}); }, "breaks 1 45"},
        {[](auto& c) { return c.dismissBreak(); }, "dismiss"},
        {[](auto& c) { return c.activate(); }, "activate"},
        {[](auto& c) { return c.restore(); }, "restore"},
        {[](auto& c) { return c.quit(); }, "quit"},
    };
    for (const auto& row : rows) {
        const auto result = row.call(client);
        EXPECT_TRUE(result) << row.arrives << ": " << result.error().message;
        EXPECT_EQ(program.target.lastCall(), row.arrives);
    }
    const auto ids = client.importPresets("[\"ü\"]");
    ASSERT_TRUE(ids);
    EXPECT_EQ(*ids, (std::vector<std::string>{"one", "two"}));
    EXPECT_EQ(program.target.lastCall(), "import [\"ü\"]");
    EXPECT_EQ(client.exportPresets({}).value(), "[]");
    EXPECT_EQ(client.exportPresets({"a", "b"}).value(), "[b]");
}

TEST_F(BusControlTest, RefusalsCarryTheirSentenceAndReachNothing) {
    Program program;
    constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
    const auto expectRefused = [&](const Result<void>& result, std::string_view sentence) {
        ASSERT_FALSE(result) << sentence;
        EXPECT_EQ(result.error().code, ErrorCode::InvalidInput);
        EXPECT_EQ(result.error().message, sentence);
        EXPECT_EQ(program.target.lastCall(), "");
    };
    expectRefused(client.selectPreset("nobody"), "no preset has the id \"nobody\"");
    expectRefused(client.setAdjustments({.intensity = 0.5, .contrast = kNaN}), "contrast lies from -0.5 to 0.5");
    expectRefused(client.setSchedule({.startMinutes = 1440}), "startMinutes lies from 0 to 1439");
    expectRefused(client.setBreaks({.intervalMinutes = 0}), "intervalMinutes lies from 1 to 1440");
    expectRefused(client.pause(-1s), "a pause lasts from one second to 366 days");
    expectRefused(client.setLocation({LocationSource::typed, Position{91, 0}}),
                  "latitude lies from -90 to 90 and longitude from -180 to 180 degrees");
}

/// Calls as a script makes them, without our client in front.
class RawCallTest : public testing::BusTest {
protected:
    void SetUp() override {
        BusTest::SetUp();
        if (!daemon) return;
        bus.emplace(loop, loop, Bus::Kind::session);
        ASSERT_TRUE(bus->open());
    }
    template <typename... Arguments>
    std::string errorOf(const char* member, const char* signature, Arguments... arguments) {
        auto call = bus->newCall(control::kBusName, control::kObjectPath, control::kInterface, member);
        sd_bus_message_append(call.get(), signature, arguments...);
        std::optional<std::string> outcome;
        const auto answer = bus->call(std::move(call), 5s, [&](const Bus::Answer& reply) {
            outcome = reply ? std::string("done") : reply.error().message;
        });
        runUntil([&] { return outcome.has_value(); });
        return outcome.value_or("no answer");
    }
    std::optional<Bus> bus;
};

TEST_F(RawCallTest, RefusesUnknownKeysWrongTypesAndPlaces) {
    Program program;
    EXPECT_EQ(errorOf("SetAdjustments", "a{sv}", 1, "warmth", "d", 0.5), "there is no \"warmth\" of this type to set");
    EXPECT_EQ(errorOf("SetAdjustments", "a{sv}", 2, "dimming", "i", 1, "contrast", "d", 0.1),
              "there is no \"dimming\" of this type to set");
    EXPECT_EQ(errorOf("SetAdjustments", "a{sv}", 1, "intensity", "(ii)", 1, 2),
              "there is no \"intensity\" of this type to set");
    EXPECT_EQ(errorOf("SetSchedule", "a{sv}", 1, "mode", "s", "always"), "there is no \"mode\" of this type to set");
    EXPECT_EQ(errorOf("SetLocation", "sdd", "moon", 0.0, 0.0),
              "a position comes from \"service\", \"typed\" or \"zone\"");
    EXPECT_EQ(errorOf("PauseUntil", "x", std::numeric_limits<std::int64_t>::max()),
              "a pause ends at an instant in microseconds since 1970");
    EXPECT_NE(errorOf("PauseFor", "s", "soon"), "done");
    EXPECT_EQ(program.target.lastCall(), "");
    EXPECT_EQ(errorOf("SetLocation", "sdd", "zone", 1000.0, 0.0), "done");
    EXPECT_EQ(errorOf("SetAdjustments", "a{sv}", 0), "done");
}

TEST_F(RawCallTest, SignalsWhatChangedTogetherAndCountdownsNever) {
    Program program;
    std::vector<std::vector<std::string>> signals;
    const auto subscription = bus->onSignal(
        "path='/org/dravo/Dravo',interface='org.freedesktop.DBus.Properties',member='PropertiesChanged'",
        [&](sd_bus_message* signal) {
            sd_bus_message_skip(signal, "s");
            auto& names = signals.emplace_back();
            readDictionary(signal, [&](const char* key, const char*, sd_bus_message*) { names.emplace_back(key); });
        });
    settle(*bus);
    const auto change = [&](auto action) {
        program.inLoop([&] {
            action(program.target.state);
            program.target.changes.deliver();
            program.target.changes.deliver();
        });
    };
    change([](ControlState& state) { --state.breaks.secondsRemaining; });
    change([](ControlState& state) {
        state.isEnabled = false;
        state.nextChange.reset();
    });
    ASSERT_TRUE(runUntil([&] { return !signals.empty(); }));
    EXPECT_EQ(signals[0], (std::vector<std::string>{"IsEnabled", "NextChange"}));
    change([](ControlState& state) { state.preset = "last"; });
    EXPECT_TRUE(runUntil([&] { return signals.size() == 2; }));
}

TEST_F(RawCallTest, DescribesItselfWithNamesForEveryArgument) {
    Program program;
    auto call =
        bus->newCall(control::kBusName, control::kObjectPath, "org.freedesktop.DBus.Introspectable", "Introspect");
    std::string xml;
    const auto answer = bus->call(std::move(call), 5s, [&](const Bus::Answer& reply) {
        const char* text = "";
        if (reply) sd_bus_message_read(*reply, "s", &text);
        xml = text;
    });
    ASSERT_TRUE(runUntil([&] { return !xml.empty(); }));
    EXPECT_NE(xml.find("<arg type=\"d\" name=\"longitude\" direction=\"in\"/>"), xml.npos) << xml;
    EXPECT_NE(xml.find("<arg type=\"as\" name=\"ids\" direction=\"out\"/>"), xml.npos);
    for (const auto& property : control::properties())
        EXPECT_NE(xml.find("name=\"" + std::string(property.name) + "\""), xml.npos) << property.name;
}

TEST_F(BusControlTest, SaysThatNothingRunsWithoutOwnerBusOrAddress) {
    EXPECT_EQ(client.toggle().error().code, ErrorCode::NotFound);
    EXPECT_EQ(client.follow([](const auto&) { return true; }).error().code, ErrorCode::NotFound);
    daemon->kill();
    EXPECT_EQ(client.toggle().error().code, ErrorCode::NotFound);
    for (const char* address : {"unix:path=/nonexistent/bus", "", "autolaunch:"}) {
        ::setenv("DBUS_SESSION_BUS_ADDRESS", address, 1);
        BusControlClient other;
        EXPECT_EQ(other.state().error().code, ErrorCode::NotFound) << address;
    }
}

TEST_F(BusControlTest, AProgramThatDoesNotAnswerIsBusyNotGone) {
    const testing::BusPeer silent(loop.event(), daemon->address(), control::kBusName,
                                  [](std::string_view, sd_bus_message*) { return true; });
    BusControlClient impatient(50ms);
    const auto result = impatient.toggle();
    ASSERT_FALSE(result);
    EXPECT_EQ(result.error().code, ErrorCode::Busy) << result.error().message;
}

}  // namespace
}  // namespace dravo::dbus
