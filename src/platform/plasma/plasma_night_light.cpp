#include "platform/plasma/plasma_night_light.h"

#include <chrono>

namespace dravo::plasma {
namespace {

constexpr const char* kService = "org.kde.KWin.NightLight";
constexpr const char* kPath = "/org/kde/KWin/NightLight";
constexpr std::chrono::seconds kTimeout{10};

}  // namespace

PlasmaNightLight::PlasmaNightLight(dbus::Bus& sessionBus, Scheduler& scheduler, ProfileDesk& desk)
    : bus_(sessionBus), desk_(desk), start_(scheduler.after({}, [this] { connect(); })) {}

void PlasmaNightLight::connect() {
    if (!bus_.open()) return;
    filterings_ = desk_.onFiltering([this](bool isFiltering) { holdOff(isFiltering); });
    isWanted_ = desk_.isFiltering();
    // A compositor that starts again knows nothing of what it was asked before.
    name_ = bus_.watchName(kService, [this](bool isOwned) {
        isThere_ = isOwned;
        isAsked_ = false;
        cookie_.reset();
        answer_.reset();
        holdOff(isWanted_);
    });
}

void PlasmaNightLight::holdOff(bool isWanted) {
    isWanted_ = isWanted;
    if (!isThere_ || isAsked_ || isWanted == cookie_.has_value()) return;
    isWanted ? ask() : letGo();
}

void PlasmaNightLight::ask() {
    isAsked_ = true;
    answer_ = bus_.call(bus_.newCall(kService, kPath, kService, "inhibit"), kTimeout,
                        [this](const dbus::Bus::Answer& answer) {
                            isAsked_ = false;
                            std::uint32_t cookie = 0;
                            if (!answer || sd_bus_message_read(*answer, "u", &cookie) <= 0) return;
                            cookie_ = cookie;
                            holdOff(isWanted_);
                        });
}

void PlasmaNightLight::letGo() {
    bus_.send(bus_.newCall(kService, kPath, kService, "uninhibit", "u", *cookie_));
    cookie_.reset();
}

}  // namespace dravo::plasma
