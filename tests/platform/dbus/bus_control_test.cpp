#include <future>
#include <limits>
#include <optional>
#include <regex>
#include <set>

#include "bus_fixture.h"
#include "platform/dbus/bus_control_client.h"
#include "platform/dbus/bus_control_service.h"
#include "platform/dbus/control_interface.h"
#include "platform/dbus/report_message.h"
#include "support/temporary_folder.h"

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

/// A running program that notes what it is asked for.
class FakeTarget final : public ControlTarget {
public:
    ControlState controlState() const override {
        ++readings;
        return state;
    }
    Subscription onStateChange(std::function<void()> callback) override { return changes.add(std::move(callback)); }
    Result<ControlAnswer> carryOut(const ControlRequest& request) override {
        asked = request;
        return answer;
    }
    Subscription examine(Examination::Told onDone) override {
        examinations.push_back(std::move(onDone));
        return {};
    }

    ControlState state = fullState();
    SubscriberList<> changes;
    std::optional<ControlRequest> asked;
    Result<ControlAnswer> answer = ControlAnswer{{"one", "zwö"}, "[]"};
    mutable int readings = 0;
    std::vector<Examination::Told> examinations;  ///< Those under way.
};

/// The program in the test's own loop. A client waits for answers, so it asks on a thread beside the loop.
class BusControlTest : public testing::BusTest {
protected:
    void SetUp() override {
        ASSERT_TRUE(caller.open());
        service.serve(target);
        bool isServed = false;
        const auto watch = caller.watchName(control::kBusName, [&](bool isOwned) { isServed = isOwned; });
        ASSERT_TRUE(runUntil([&] { return isServed; }));
    }
    template <typename Question>
    auto aside(Question question) {
        auto answer = std::async(std::launch::async, question);
        runUntil([&] { return answer.wait_for(0s) == std::future_status::ready; });
        return answer.get();
    }
    Result<ControlAnswer> ask(const ControlRequest& request) {
        return aside([&] { return client.ask(request); });
    }
    /// A call as a script makes it, without our client in front; what it is refused with.
    template <typename... Arguments>
    std::string errorOf(const char* member, const char* signature, Arguments... arguments) {
        auto call = caller.newCall(control::kBusName, control::kObjectPath, control::kInterface, member);
        sd_bus_message_append(call.get(), signature, arguments...);
        std::optional<std::string> outcome;
        const auto answer = caller.call(std::move(call), 5s, [&](const Bus::Answer& reply) {
            outcome = reply ? std::string("done") : inEnglish(reply.error().message);
        });
        runUntil([&] { return outcome.has_value(); });
        return outcome.value_or("no answer");
    }

    FakeTarget target;
    Bus bus{loop, loop, Bus::Kind::session};
    Bus caller{loop, loop, Bus::Kind::session};
    BusControlService service{bus, loop};
    BusControlClient client;
};

TEST_F(BusControlTest, TheWholeStateTravels) {
    for (const auto& sent : {fullState(), ControlState{}}) {
        target.state = sent;
        target.readings = 0;
        const auto got = aside([&] { return client.state(); });
        ASSERT_TRUE(got) << inEnglish(got.error().message);
        EXPECT_EQ(target.readings, 1) << "one for all properties together";
        for (const auto& property : control::properties()) EXPECT_FALSE(property.differs(*got, sent)) << property.name;
    }
}

TEST_F(BusControlTest, EveryRequestArrivesAsItWasAndIsAnswered) {
    using namespace request;
    const ControlRequest requests[] = {
        Toggle{},
        SwitchOn{},
        SwitchOff{},
        PauseFor{15min},
        PauseUntil{kNoon + 90s},
        PauseUntilMorning{},
        Resume{},
        SelectPreset{"fl41"},
        SetAdjustments{.dimming = 0.5, .contrast = -0.25},
        SetAdjustments{0.1, 0.2, 0.15, 0.4},
        RevertToPreset{},
        SetSchedule{.enabled = false},
        SetSchedule{true, ScheduleMode::sunsetToSunrise, 5, 6},
        SetLocation{LocationSource::typed, Position{12.5, 0}},
        SetLocation{LocationSource::zone, {}},
        SetBreaks{.enabled = true, .intervalMinutes = 45},
        DismissBreak{},
        ImportPresets{"[\"ü\"]"},
        ExportPresets{},
        ExportPresets{{"a", "ö"}},
        Activate{},
        Restore{},
        Quit{},
        ListDisplays{},
    };
    const HeldDisplay shown{{DisplayId{7}, "DP-1", 1024, DisplayState::ready, {}}, GammaTable::identity()};
    const HeldDisplay held{{DisplayId{8}, "DP-2", 0, DisplayState::refused, Sentence{textKey("%@ has it"), {"ü"}}}, {}};
    target.answer->backend = "wlr";
    target.answer->displays = {shown, held};
    std::set<std::size_t> kinds;
    for (const auto& request : requests) {
        const std::string name = control::methods()[request.index()].name;
        const auto answer = ask(request);
        ASSERT_TRUE(answer) << name << ": " << inEnglish(answer.error().message);
        EXPECT_TRUE(target.asked == request) << name;
        EXPECT_EQ(answer->ids.size(), name == "ImportPresets" ? 2U : 0U) << name;
        EXPECT_EQ(answer->json, name == "ExportPresets" ? "[]" : "") << name;
        const bool isList = name == "ListDisplays";
        EXPECT_EQ(answer->backend, isList ? "wlr" : "") << name;
        EXPECT_EQ(answer->displays, isList ? target.answer->displays : std::vector<HeldDisplay>()) << name;
        kinds.insert(request.index());
    }
    EXPECT_EQ(kinds.size(), std::variant_size_v<ControlRequest>);
}

TEST_F(BusControlTest, AnExaminationIsAnsweredWhenItIsDone) {
    const std::vector<PortReport> reports{
        {kDisplayPort, "DP-1", {"wlr"}},
        {kTrayPort,
         {},
         {{}, Sentence{textKey("no tray")}, Sentence{textKey("Use %1$@, or %2$@"), {"ä", ""}}, "dravo panel"}}};
    std::vector<std::optional<Result<std::vector<PortReport>>>> answers(2);
    std::vector<Subscription> asked;
    for (auto& answer : answers)
        asked.push_back(askForReports(caller, 5s, [&](const auto& told) { answer.emplace(told); }));
    ASSERT_TRUE(runUntil([&] { return target.examinations.size() == 2; }));
    EXPECT_TRUE(ask(request::Toggle{})) << "it holds nothing else up";
    target.examinations[1](reports);
    target.examinations[0]({});
    ASSERT_TRUE(runUntil([&] { return answers[0] && answers[1]; }));
    EXPECT_EQ(**answers[0], std::vector<PortReport>());
    EXPECT_EQ(**answers[1], reports);
}

TEST_F(BusControlTest, RefusalsCarryTheirSentence) {
    const auto refusalOf = [&](const ControlRequest& request) {
        const auto answer = ask(request);
        return answer ? Error{} : answer.error();
    };
    target.answer = Error{ErrorCode::NotFound, "no such preset"};
    EXPECT_EQ(refusalOf(request::SelectPreset{"x"}).code, ErrorCode::InvalidInput) << "not found is kept for Dravo";
    EXPECT_EQ(refusalOf(request::SelectPreset{"x"}).message, "no such preset");
    target.answer = Error{ErrorCode::Unsupported, "no panel"};
    EXPECT_EQ(refusalOf(request::Activate{}).code, ErrorCode::Unsupported);
    target.asked.reset();
    for (const ControlRequest& request : std::initializer_list<ControlRequest>{
             request::SetAdjustments{.contrast = 1}, request::PauseFor{-1s}, request::SelectPreset{"\xff"},
             request::ExportPresets{{"a", "caf\xe9"}}, request::ImportPresets{"\xc3"}})
        EXPECT_EQ(refusalOf(request).code, ErrorCode::InvalidInput) << request.index();
    EXPECT_FALSE(target.asked);
}

TEST_F(BusControlTest, RefusesUnknownKeysWrongTypesAndPlaces) {
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
    EXPECT_FALSE(target.asked);
    EXPECT_EQ(errorOf("SetLocation", "sdd", "zone", 1000.0, 0.0), "done");
    EXPECT_EQ(errorOf("SetAdjustments", "a{sv}", 0), "done");
}

TEST_F(BusControlTest, SignalsWhatChangedTogetherAndCountdownsNever) {
    std::vector<std::vector<std::string>> signals;
    const auto subscription = caller.onSignal(
        "path='/org/dravo/Dravo',interface='org.freedesktop.DBus.Properties',member='PropertiesChanged'",
        [&](sd_bus_message* signal) {
            sd_bus_message_skip(signal, "s");
            auto& names = signals.emplace_back();
            readDictionary(signal, [&](const char* key, const char*, sd_bus_message*) { names.emplace_back(key); });
        });
    settle(caller);
    const auto change = [&](auto action) {
        action(target.state);
        target.changes.deliver();
        target.changes.deliver();
    };
    change([](ControlState& state) {
        --state.breaks.secondsRemaining;
        --state.breaks.breakSecondsLeft;
    });
    change([](ControlState& state) {
        state.isEnabled = false;
        state.nextChange.reset();
    });
    ASSERT_TRUE(runUntil([&] { return !signals.empty(); }));
    EXPECT_EQ(signals[0], (std::vector<std::string>{"IsEnabled", "NextChange"}));
    change([](ControlState& state) { state.breaks.breakSecondsLeft = 0; });
    ASSERT_TRUE(runUntil([&] { return signals.size() == 2; }));
    EXPECT_EQ(signals[1], std::vector<std::string>{"IsOnBreak"});
}

TEST_F(BusControlTest, DescribesItselfAsThePageDoes) {
    auto call =
        caller.newCall(control::kBusName, control::kObjectPath, "org.freedesktop.DBus.Introspectable", "Introspect");
    std::string xml;
    const auto answer = caller.call(std::move(call), 5s, [&](const Bus::Answer& reply) {
        const char* text = "";
        if (reply) sd_bus_message_read(*reply, "s", &text);
        xml = text;
    });
    ASSERT_TRUE(runUntil([&] { return !xml.empty(); }));
    EXPECT_NE(xml.find("<arg type=\"d\" name=\"longitude\" direction=\"in\"/>"), xml.npos) << xml;
    EXPECT_NE(xml.find("<arg type=\"as\" name=\"ids\" direction=\"out\"/>"), xml.npos);
    const std::string page = dravo::testing::contentOf(DRAVO_BUS_PAGE);
    const std::string own = xml.substr(xml.find(control::kInterface));
    static const std::regex kMember("<(property|method) name=\"([A-Za-z]+)\"");
    for (std::sregex_iterator member(own.begin(), own.end(), kMember), end; member != end; ++member)
        EXPECT_NE(page.find("`" + (*member)[2].str() + "`"), page.npos) << (*member)[2];
}

/// Without a program.
class BusControlClientTest : public testing::BusTest {
protected:
    BusControlClient client;
};

TEST_F(BusControlClientTest, SaysThatNothingRunsWithoutOwnerBusOrAddress) {
    EXPECT_EQ(client.ask(request::Toggle{}).error().code, ErrorCode::NotFound);
    EXPECT_EQ(client.follow([](const auto&) { return true; }).error().code, ErrorCode::NotFound);
    daemon.kill();
    EXPECT_EQ(client.ask(request::Toggle{}).error().code, ErrorCode::NotFound);
    for (const char* address : {"unix:path=/nonexistent/bus", "", "autolaunch:"}) {
        sessionBus.set(address);
        BusControlClient other;
        EXPECT_EQ(other.state().error().code, ErrorCode::NotFound) << address;
    }
}

TEST_F(BusControlClientTest, AProgramThatDoesNotAnswerIsBusyNotGone) {
    const testing::BusPeer silent(loop, daemon.address(), control::kBusName,
                                  [](std::string_view, sd_bus_message*) { return true; });
    BusControlClient impatient(50ms);
    const auto result = impatient.ask(request::Toggle{});
    ASSERT_FALSE(result);
    EXPECT_EQ(result.error().code, ErrorCode::Busy) << inEnglish(result.error().message);
}

}  // namespace
}  // namespace dravo::dbus
