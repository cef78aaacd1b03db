#include "platform/gnome/gnome_night_light.h"

#include <chrono>
#include <string_view>
#include <utility>

#include "platform/dbus/bus_link.h"
#include "platform/gnome/color_settings.h"

namespace dravo::gnome {

namespace {

constexpr std::chrono::seconds kTimeout{10};

}  // namespace

GnomeNightLight::GnomeNightLight(dbus::Bus& sessionBus, Scheduler& scheduler, OriginalGammaStore& store,
                                 MutterLastWord* lastWord)
    : bus_(sessionBus), store_(store), lastWord_(lastWord), start_(scheduler.after({}, [this] { connect(); })) {}

NightLight::State GnomeNightLight::state() const {
    if (!told_.isThere) return State::absent;
    if (told_.isActive) return State::on;
    return isOurs_ ? State::paused : State::off;
}

void GnomeNightLight::pause() {
    if (state() != State::on) return;
    setOurs(true);
    confirmation_ = bus_.call(switchNightLightCall(bus_, false), kTimeout, [this](const dbus::Bus::Answer& answer) {
        if (answer) return;
        setOurs(false);
        changes_.deliver();
    });
}

void GnomeNightLight::giveBack() {
    if (!isOurs_) return;
    confirmation_.reset();
    bus_.send(switchNightLightCall(bus_, true));
    setOurs(false);
}

void GnomeNightLight::connect() {
    if (!bus_.open()) return;
    signals_ = bus_.onSignal(dbus::ruleFor(kColorSettings, kColorSettingsPath, kProperties, "PropertiesChanged"),
                             [this](sd_bus_message* signal) {
                                 Told told = told_;
                                 if (!told.isThere || sd_bus_message_skip(signal, "s") < 0) return;
                                 read(signal, told);
                                 take(told);
                             });
    name_ = bus_.watchName(kColorSettings, [this](bool isOwned) { isOwned ? ask() : take({}); });
}

void GnomeNightLight::ask() {
    auto question = bus_.newCall(kColorSettings, kColorSettingsPath, kProperties, "GetAll", "s", kColorSettings);
    answer_ = bus_.call(std::move(question), kTimeout, [this](const dbus::Bus::Answer& answer) {
        Told told{.isThere = answer.hasValue()};
        if (answer) read(*answer, told);
        take(told);
    });
}

void GnomeNightLight::read(sd_bus_message* properties, Told& told) const {
    const auto readInto = [](sd_bus_message* value, bool& flag) {
        int isTrue = 0;
        if (sd_bus_message_read(value, "b", &isTrue) >= 0) flag = isTrue != 0;
    };
    dbus::readDictionary(properties, [&](std::string_view key, std::string_view signature, sd_bus_message* value) {
        if (key == "NightLightActive" && signature == "b") readInto(value, told.isActive);
        if (key == "DisabledUntilTomorrow" && signature == "b") readInto(value, told.isDisabledUntilTomorrow);
    });
}

void GnomeNightLight::take(const Told& told) {
    const State before = state();
    const bool wasDisabled = std::exchange(told_, told).isDisabledUntilTomorrow;
    if (told.isThere && std::exchange(owesIt_, false)) {
        if (told.isDisabledUntilTomorrow) bus_.send(switchNightLightCall(bus_, true));
        setOurs(false);
    }
    // Tomorrow has come, or somebody wants it on today.
    if (told.isThere && wasDisabled && !told.isDisabledUntilTomorrow && isOurs_) setOurs(false);
    if (state() != before) changes_.deliver();
}

void GnomeNightLight::setOurs(bool isOurs) {
    isOurs_ = isOurs;
    store_.setNightLightIsOurs(isOurs);
    if (lastWord_) lastWord_->setNightLightIsOurs(isOurs);
}

void undoPausedNightLight(OriginalGammaStore& store) {
    if (!store.mayHaveLeftNightLightOff()) return;
    constexpr std::chrono::seconds kUndoPatience{2};
    if (const auto bus = dbus::BusLink::open(dbus::Bus::Kind::session))
        static_cast<void>((*bus)->ask(switchNightLightCall(**bus, true), kUndoPatience));
    store.setNightLightIsOurs(false);
}

}  // namespace dravo::gnome
