#include "platform/dbus/portal_hot_key_service.h"

#include <deque>
#include <optional>
#include <vector>

#include "app/keyboard_shortcut.h"
#include "bus_fixture.h"
#include "bus_peer.h"

namespace dravo::dbus {
namespace {

using namespace std::chrono_literals;
using namespace shortcut_modifier;
using testing::BusPeer;
using Calls = std::vector<std::string>;

constexpr const char* kPath = "/org/freedesktop/portal/desktop";
constexpr const char* kShortcuts = "org.freedesktop.portal.GlobalShortcuts";
constexpr HotKey kUsual{14, kControl | kShift};

/// A desktop's portal, whose person gives every shortcut the keys "Super+F9".
class Portal {
public:
    Portal(sd_event* loop, const std::string& address)
        : peer_(loop, address, "org.freedesktop.portal.Desktop",
                [this](std::string_view member, sd_bus_message* call) { return answer(member, call); }) {}

    void press(const std::string& session) {
        emit("Activated", "osta{sv}", session.c_str(), "toggle", std::uint64_t{1}, 0);
    }
    void change(const char* keys) {
        emit("ShortcutsChanged", "oa(sa{sv})", sessions.back().c_str(), 2, "other", 1, "trigger_description", "s", "X",
             "toggle", 1, "trigger_description", "s", keys);
    }
    void close() {
        sd_bus_emit_signal(peer_.bus(), sessions.back().c_str(), "org.freedesktop.portal.Session", "Closed", "a{sv}",
                           0);
    }
    /// Lets the person answer what `asksPerson` held back.
    void letAnswer() {
        while (!waiting_.empty()) {
            const auto next = waiting_.front();
            waiting_.pop_front();
            next();
        }
    }
    [[nodiscard]] const Calls& calls() const { return peer_.calls; }

    std::uint32_t version = 2;  ///< 0: it has no such interface.
    std::uint32_t refuses = 0;  ///< How a request for keys ends.
    bool asksPerson = false;    ///< Whether an outcome waits for `letAnswer`.
    std::vector<std::string> appIds;
    std::vector<std::string> sessions;  ///< Made, in order.
    std::vector<std::string> closed;
    std::vector<std::string> triggers;

private:
    template <typename... Arguments>
    void emit(const char* member, const char* types, Arguments... arguments) {
        sd_bus_emit_signal(peer_.bus(), kPath, kShortcuts, member, types, arguments...);
    }
    bool answer(std::string_view member, sd_bus_message* call) {
        const char* text = nullptr;
        if (member == "Register") {
            sd_bus_message_read(call, "s", &text);
            appIds.emplace_back(text);
            return sd_bus_reply_method_return(call, "") >= 0;
        }
        if (member == "Get") return version != 0 && sd_bus_reply_method_return(call, "v", "u", version) >= 0;
        if (member == "ConfigureShortcuts") return sd_bus_reply_method_return(call, "") >= 0;
        if (member == "Close") {
            closed.emplace_back(sd_bus_message_get_path(call));
            return sd_bus_reply_method_return(call, "") >= 0;
        }
        const std::string request = std::string(kPath) + "/request/" + std::to_string(++requests_);
        if (member == "CreateSession") {
            sessions.push_back(std::string(kPath) + "/session/" + std::to_string(requests_));
            return reply(call, request, [this, request, session = sessions.back()] {
                respond(request, 0U, 1, "session_handle", "s", session.c_str());
            });
        }
        if (member == "BindShortcuts") {
            readTrigger(call);
            return reply(call, request, [this, request] {
                if (refuses != 0) return respond(request, refuses, 0);
                respond(request, 0U, 1, "shortcuts", "a(sa{sv})", 1, "toggle", 1, "trigger_description", "s",
                        "Super+F9");
            });
        }
        return false;
    }
    void readTrigger(sd_bus_message* call) {
        triggers.emplace_back("none");
        sd_bus_message_read(call, "o", nullptr);
        sd_bus_message_enter_container(call, 'a', "(sa{sv})");
        sd_bus_message_enter_container(call, 'r', "sa{sv}");
        sd_bus_message_skip(call, "s");
        readDictionary(call, [this](const char* key, const char*, sd_bus_message* value) {
            const char* text = nullptr;
            if (std::string_view(key) != "preferred_trigger") return;
            sd_bus_message_read(value, "s", &text);
            triggers.back() = text;
        });
    }
    bool reply(sd_bus_message* call, const std::string& request, const std::function<void()>& outcome) {
        const bool isSent = sd_bus_reply_method_return(call, "o", request.c_str()) >= 0;
        waiting_.push_back(outcome);
        if (!asksPerson) letAnswer();
        return isSent;
    }
    template <typename... Results>
    void respond(const std::string& request, std::uint32_t code, int count, Results... results) {
        sd_bus_emit_signal(peer_.bus(), request.c_str(), "org.freedesktop.portal.Request", "Response", "ua{sv}", code,
                           count, results...);
    }

    BusPeer peer_;
    int requests_ = 0;
    std::deque<std::function<void()>> waiting_;
};

class PortalHotKeyServiceTest : public testing::BusTest {
protected:
    void SetUp() override {
        BusTest::SetUp();
        if (IsSkipped() || HasFatalFailure()) return;
        bus.emplace(loop, loop, Bus::Kind::session);
        service.emplace(*bus, loop, "dravo", "dravo toggle");
        changes = service->onDesktopKeysChange([this] { ++deliveries; });
    }
    void startPortal() { portal.emplace(loop.event(), daemon->address()); }
    void take(HotKey hotKey) {
        held.reset();
        auto taken = service->registerHotKey(hotKey, [this] { ++presses; });
        ASSERT_TRUE(taken);
        held = std::move(*taken);
    }
    /// Until the portal has given the keys.
    void takeAndWait(HotKey hotKey) {
        take(hotKey);
        ASSERT_TRUE(runUntil([&] { return service->desktopKeys()->keys == "Super+F9"; }));
    }

    std::optional<Portal> portal;
    std::optional<Bus> bus;
    std::optional<PortalHotKeyService> service;
    int presses = 0;
    int deliveries = 0;
    Subscription changes;
    Subscription held;
};

TEST_F(PortalHotKeyServiceTest, TellsItsNameFirstSuggestsTheKeysAndHearsEachPress) {
    startPortal();
    takeAndWait(kUsual);
    EXPECT_EQ(portal->calls(), (Calls{"Register", "Get", "CreateSession", "BindShortcuts"}));
    EXPECT_EQ(portal->appIds, Calls{"dravo"});
    EXPECT_EQ(portal->triggers, Calls{"CTRL+SHIFT+e"});
    EXPECT_TRUE(service->desktopKeys()->canConfigure);
    EXPECT_TRUE(service->desktopKeys()->finding.works());
    EXPECT_EQ(presses, 0);

    portal->press(portal->sessions.back());
    portal->press("/somebody/elses");
    portal->press(portal->sessions.back());
    settle(*bus);
    EXPECT_EQ(presses, 2);

    const int before = deliveries;
    portal->change("Ctrl+Alt+F");
    EXPECT_TRUE(runUntil([&] { return service->desktopKeys()->keys == "Ctrl+Alt+F"; }));
    EXPECT_EQ(deliveries, before + 1);
    service->configure();
    settle(*bus);
    EXPECT_EQ(portal->calls().back(), "ConfigureShortcuts");
}

TEST_F(PortalHotKeyServiceTest, LeavesNoSessionBehind) {
    startPortal();
    takeAndWait(kUsual);
    take({105, kSuper});
    ASSERT_TRUE(runUntil([&] { return service->desktopKeys()->keys == "Super+F9" && portal->sessions.size() == 2; }));
    EXPECT_EQ(portal->closed, Calls{portal->sessions[0]});
    EXPECT_EQ(portal->triggers.back(), "none") << "a key without a name";
    portal->press(portal->sessions[0]);
    settle(*bus);
    EXPECT_EQ(presses, 0);

    held.reset();
    settle(*bus);
    EXPECT_EQ(portal->closed, portal->sessions);
    EXPECT_EQ(service->desktopKeys()->keys, "");

    // Given up, and wanted again, while the portal still makes the session.
    portal->asksPerson = true;
    take(kUsual);
    settle(*bus);
    held.reset();
    portal->letAnswer();
    settle(*bus);
    EXPECT_EQ(portal->closed, portal->sessions);
    take(kUsual);
    settle(*bus);
    take({3, kAlt});
    portal->letAnswer();
    settle(*bus);
    EXPECT_EQ(portal->sessions.size(), portal->closed.size() + 1);
    EXPECT_EQ(portal->triggers.back(), "ALT+f");
}

TEST_F(PortalHotKeyServiceTest, AsksAPortalThatStartsAnewAnew) {
    startPortal();
    takeAndWait(kUsual);
    portal.reset();
    ASSERT_TRUE(runUntil([&] { return service->desktopKeys()->keys.empty(); }));
    startPortal();
    ASSERT_TRUE(runUntil([&] { return service->desktopKeys()->keys == "Super+F9"; }));
    EXPECT_EQ(portal->calls().front(), "Register");
    portal->press(portal->sessions.back());
    EXPECT_TRUE(runUntil([&] { return presses == 1; }));
}

TEST_F(PortalHotKeyServiceTest, SaysWhyThereAreNoKeysAndWhatElseThereIs) {
    const auto finding = [&]() -> const Finding& { return service->desktopKeys()->finding; };
    take(kUsual);
    ASSERT_TRUE(runUntil([&] { return !finding().works(); })) << "no portal";
    EXPECT_EQ(finding().command, "dravo toggle");

    startPortal();
    portal->version = 0;
    settle(*bus);
    EXPECT_FALSE(finding().works()) << "a portal without shortcuts";
    EXPECT_EQ(finding().command, "dravo toggle");

    portal.reset();
    startPortal();
    portal->refuses = 1;
    ASSERT_TRUE(runUntil([&] { return !finding().works() && finding().command.empty(); })) << "the person refuses";
    EXPECT_EQ(presses, 0);
    portal->refuses = 0;
    takeAndWait(kUsual);

    portal->close();
    ASSERT_TRUE(runUntil([&] { return !finding().works(); }));
    EXPECT_EQ(service->desktopKeys()->keys, "");
    portal->refuses = 2;
    take(kUsual);
    ASSERT_TRUE(runUntil([&] { return finding().command == "dravo toggle"; })) << "the portal fails";

    ::setenv("DBUS_SESSION_BUS_ADDRESS", "", 1);
    Bus none(loop, loop, Bus::Kind::session);
    const PortalHotKeyService alone(none, loop, "dravo", "dravo toggle");
    EXPECT_TRUE(runUntil([&] { return !alone.desktopKeys()->finding.works(); })) << "no bus";
}

TEST(PortalTriggerTest, NamesKeysAsTheKeyboardLibrariesDo) {
    const struct {
        HotKey hotKey;
        const char* expected;
    } rows[] = {
        {kUsual, "CTRL+SHIFT+e"},
        {{101, kSuper}, "LOGO+F9"},
        {{49, kControl | kAlt | kShift | kSuper}, "CTRL+ALT+SHIFT+LOGO+space"},
        {{27, kAlt}, "ALT+minus"},
        {{123, kAlt}, "ALT+Left"},
        {{18, kAlt}, "ALT+1"},
        {{105, kAlt}, ""},
    };
    for (const auto& [hotKey, expected] : rows) EXPECT_EQ(portalTrigger(hotKey), expected);
}

}  // namespace
}  // namespace dravo::dbus
