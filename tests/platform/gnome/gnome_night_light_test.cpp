#include "platform/gnome/gnome_night_light.h"

#include <optional>

#include "platform/dbus/bus_fixture.h"
#include "support/temporary_folder.h"

namespace dravo::gnome {
namespace {

using State = NightLight::State;

constexpr const char* kDaemon = "org.gnome.SettingsDaemon.Color";

class NightLightTest : public dbus::testing::BusTest {
protected:
    /// A settings daemon, in whose schedule it is night.
    void startDaemon() {
        settings.emplace(loop, daemon.address(), kDaemon, [this](std::string_view member, sd_bus_message* call) {
            if (member == "GetAll")
                return sd_bus_reply_method_return(call, "a{sv}", 3, "NightLightActive", "b", !isDisabled, "Temperature",
                                                  "u", 2700, "DisabledUntilTomorrow", "b", isDisabled) >= 0;
            int value = 0;
            if (member != "Set" || refuses || sd_bus_message_skip(call, "ss") < 0 ||
                sd_bus_message_read(call, "v", "b", &value) < 0)
                return false;
            sd_bus_reply_method_return(call, "");
            disable(value != 0);
            return true;
        });
    }
    void disable(bool isOff) {
        isDisabled = isOff;
        sd_bus_emit_signal(settings->bus(), "/org/gnome/SettingsDaemon/Color", "org.freedesktop.DBus.Properties",
                           "PropertiesChanged", "sa{sv}as", kDaemon, 2, "NightLightActive", "b", !isOff,
                           "DisabledUntilTomorrow", "b", isOff, 0);
    }
    /// A run of the program; the one before was cut off.
    void start(bool goesOn = false) {
        light.reset();
        store.emplace(folder).restoreIfNeeded();
        light.emplace(bus, loop, *store, nullptr);
        goesOn ? light->takeOver() : light->undoUncleanRun();
    }
    void expectState(State expected) {
        EXPECT_TRUE(runUntil([&] { return light->state() == expected; })) << static_cast<int>(light->state());
    }
    void pause() {
        light->pause();
        EXPECT_TRUE(isNoted()) << "before it is done";
    }
    [[nodiscard]] bool isNoted() const {
        OriginalGammaStore other(folder);
        other.restoreIfNeeded();
        return other.mayHaveLeftNightLightOff();
    }

    dravo::testing::TemporaryFolder home;
    DataFolder folder{home / ".dravo", {}};
    std::optional<dbus::testing::BusPeer> settings;
    bool isDisabled = false;
    bool refuses = false;
    dbus::Bus bus{loop, loop, dbus::Bus::Kind::session};
    std::optional<OriginalGammaStore> store;
    std::optional<GnomeNightLight> light;
};

TEST_F(NightLightTest, IsOffUntilItIsGivenBack) {
    start();
    EXPECT_EQ(light->state(), State::absent);
    startDaemon();
    expectState(State::on);
    pause();
    expectState(State::paused);
    EXPECT_TRUE(isDisabled);
    light->giveBack();
    EXPECT_FALSE(isNoted());
    expectState(State::on);
    EXPECT_FALSE(isDisabled);
    settings.reset();
    expectState(State::absent);
}

TEST_F(NightLightTest, LeavesAloneWhatSomebodyElseChose) {
    isDisabled = true;
    startDaemon();
    start();
    expectState(State::off);
    light->pause();
    light->giveBack();
    settle(bus);
    EXPECT_TRUE(isDisabled) << "off by the person's own hand";

    disable(false);
    expectState(State::on);
    pause();
    expectState(State::paused);
    disable(false);
    expectState(State::on);
    EXPECT_FALSE(isNoted()) << "wanted today after all";
    refuses = true;
    pause();
    EXPECT_TRUE(runUntil([&] { return !isNoted(); })) << "refused";
}

TEST_F(NightLightTest, ComesBackAfterARunThatWasCutOffButNotInARelaunch) {
    startDaemon();
    start();
    expectState(State::on);
    pause();
    expectState(State::paused);
    start(true);
    expectState(State::paused);
    EXPECT_TRUE(isDisabled && isNoted());
    start();
    expectState(State::on);
    EXPECT_FALSE(isDisabled || isNoted());
}

}  // namespace
}  // namespace dravo::gnome
