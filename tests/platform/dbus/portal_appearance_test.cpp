#include "platform/dbus/portal_appearance.h"

#include <limits>
#include <optional>
#include <utility>
#include <vector>

#include "bus_fixture.h"

namespace dravo::dbus {
namespace {

using testing::BusPeer;
using Scheme = Appearance::Scheme;

constexpr const char* kPortal = "org.freedesktop.portal.Desktop";
constexpr const char* kPath = "/org/freedesktop/portal/desktop";
constexpr const char* kInterface = "org.freedesktop.portal.Settings";
constexpr const char* kAppearance = "org.freedesktop.appearance";
constexpr const char* kGnome = "org.gnome.desktop.interface";

/// A key with its value, as an entry of the portal's answer.
using Entry = std::function<void(sd_bus_message* reply)>;

template <typename... Values>
Entry entry(const char* key, const char* type, Values... values) {
    return [=](sd_bus_message* reply) { sd_bus_message_append(reply, "{sv}", key, type, values...); };
}
Entry number(const char* key, std::uint32_t value) { return entry(key, "u", value); }
Entry accent(double red, double green, double blue) { return entry("accent-color", "(ddd)", red, green, blue); }
Entry animations(bool areOn) { return entry("enable-animations", "b", static_cast<int>(areOn)); }

/// What the portal's desktop is set to.
struct Settings {
    std::vector<Entry> appearance = {};
    std::vector<Entry> gnome = {};
};

bool replyWith(const Settings& settings, sd_bus_message* call) {
    sd_bus_message* reply = nullptr;
    sd_bus_message_new_method_return(call, &reply);
    sd_bus_message_open_container(reply, 'a', "{sa{sv}}");
    for (const auto& [group, entries] : {std::pair{kAppearance, settings.appearance}, {kGnome, settings.gnome}}) {
        sd_bus_message_open_container(reply, 'e', "sa{sv}");
        sd_bus_message_append(reply, "s", group);
        sd_bus_message_open_container(reply, 'a', "{sv}");
        sd_bus_message_append(reply, "{sv}", "clock-format", "s", "24h");
        for (const Entry& each : entries) each(reply);
        sd_bus_message_close_container(reply);
        sd_bus_message_close_container(reply);
    }
    sd_bus_message_close_container(reply);
    const bool isSent = sd_bus_send(nullptr, reply, nullptr) >= 0;
    sd_bus_message_unref(reply);
    return isSent;
}

class PortalAppearanceTest : public testing::BusTest {
protected:
    void startPortal(const Settings& settings) {
        portal.emplace(loop, daemon.address(), kPortal, [settings](std::string_view member, sd_bus_message* call) {
            return member == "ReadAll" && replyWith(settings, call);
        });
    }
    /// A new bus and service. REQUIRES: nothing is observed.
    void observe() {
        service.reset();
        bus.emplace(loop, loop, Bus::Kind::session);
        service.emplace(*bus, loop);
        deliveries = 0;
        changes = service->onChange([this] { ++deliveries; });
        ASSERT_TRUE(runUntil([&] { return bus->handle() != nullptr; }));
        settle(*bus);
    }
    void announce(const char* name, const char* key, std::uint32_t value) {
        sd_bus_emit_signal(portal->bus(), kPath, kInterface, "SettingChanged", "ssv", name, key, "u", value);
    }

    std::optional<BusPeer> portal;
    std::optional<Bus> bus;
    std::optional<PortalAppearance> service;
    int deliveries = 0;
    Subscription changes;
};

TEST_F(PortalAppearanceTest, ReadsWhatTheDesktopIsSetTo) {
    constexpr double kNan = std::numeric_limits<double>::quiet_NaN();
    const std::array<std::uint8_t, 3> blue{53, 132, 228};
    const auto scheme = [](std::uint32_t value) { return number("color-scheme", value); };
    const auto text = [](const char* key) { return entry(key, "s", "1"); };
    const struct {
        const char* name;
        Settings settings;
        Appearance expected;
    } rows[] = {
        {"nothing set", {}, {}},
        {"everything set",
         {{scheme(1), accent(0.207843, 0.517647, 0.894118), number("contrast", 1), number("reduced-motion", 1)},
          {animations(true)}},
         {Scheme::dark, blue, true, true}},
        {"light", {{scheme(2)}}, {Scheme::light, {}, false, false}},
        {"no preference", {{scheme(0), number("contrast", 0), number("reduced-motion", 0)}}, {}},
        {"a scheme of tomorrow", {{scheme(7)}}, {}},
        {"no accent", {{accent(-1, -1, -1)}}, {}},
        {"accent above one", {{accent(0.5, 1.5, 0.5)}}, {}},
        {"accent that is no number", {{accent(0.5, kNan, 0.5)}}, {}},
        {"animations off", {{}, {animations(false)}}, {Scheme::unknown, {}, false, true}},
        {"the portal's own motion setting comes first", {{number("reduced-motion", 0)}, {animations(false)}}, {}},
        {"wrong types",
         {{text("color-scheme"), text("accent-color"), text("contrast"), text("reduced-motion")},
          {text("enable-animations")}},
         {}},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        startPortal(row.settings);
        observe();
        ASSERT_TRUE(runUntil([&] { return !portal->calls.empty(); }));
        settle(*bus);
        EXPECT_EQ(service->appearance(), row.expected);
        EXPECT_EQ(deliveries > 0, row.expected != Appearance{});
        changes.reset();
        portal.reset();
    }
}

TEST_F(PortalAppearanceTest, FollowsChangesAndSaysNothingWhenNothingChanged) {
    startPortal({{number("color-scheme", 1)}, {animations(true)}});
    observe();
    ASSERT_TRUE(runUntil([&] { return service->appearance().scheme == Scheme::dark; }));
    settle(*bus);
    const int before = deliveries;
    announce(kAppearance, "color-scheme", 1);
    announce(kAppearance, "something-new", 2);
    announce(kGnome, "color-scheme", 2);
    settle(*bus);
    EXPECT_EQ(deliveries, before);

    announce(kAppearance, "color-scheme", 2);
    EXPECT_TRUE(runUntil([&] { return service->appearance().scheme == Scheme::light; }));
    announce(kAppearance, "reduced-motion", 1);
    EXPECT_TRUE(runUntil([&] { return service->appearance().reducedMotion; }));
    EXPECT_EQ(deliveries, before + 2);
}

TEST_F(PortalAppearanceTest, KeepsWhatAnEndedPortalSaidAndAsksTheNextOne) {
    observe();
    EXPECT_EQ(service->appearance(), Appearance{}) << "there is no portal yet";
    startPortal({{number("color-scheme", 2)}});
    EXPECT_TRUE(runUntil([&] { return service->appearance().scheme == Scheme::light; }));
    portal.reset();
    settle(*bus);
    EXPECT_EQ(service->appearance().scheme, Scheme::light);
    startPortal({{number("color-scheme", 1), number("contrast", 1)}});
    EXPECT_TRUE(runUntil([&] { return service->appearance() == Appearance{Scheme::dark, {}, true, false}; }));
}

TEST_F(PortalAppearanceTest, NonsenseOfAPortalLeavesItUnknown) {
    portal.emplace(loop, daemon.address(), kPortal, [](std::string_view, sd_bus_message* call) {
        return sd_bus_reply_method_return(call, "s", "nonsense") >= 0;
    });
    observe();
    ASSERT_TRUE(runUntil([&] { return !portal->calls.empty(); }));
    settle(*bus);
    EXPECT_EQ(service->appearance(), Appearance{});
    EXPECT_EQ(deliveries, 0);
}

}  // namespace
}  // namespace dravo::dbus
