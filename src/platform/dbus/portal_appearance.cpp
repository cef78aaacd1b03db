#include "platform/dbus/portal_appearance.h"

#include <algorithm>
#include <cmath>
#include <string>
#include <utility>

namespace dravo::dbus {

namespace {

constexpr const char* kService = "org.freedesktop.portal.Desktop";
constexpr const char* kPath = "/org/freedesktop/portal/desktop";
constexpr const char* kSettings = "org.freedesktop.portal.Settings";
constexpr const char* kAppearance = "org.freedesktop.appearance";
constexpr const char* kGnomeInterface = "org.gnome.desktop.interface";

// The portal may have to be started, and starts its backends in turn.
constexpr std::chrono::seconds kTimeout{30};

std::optional<std::uint32_t> readNumber(std::string_view signature, sd_bus_message* value) {
    std::uint32_t number = 0;
    if (signature != "u" || sd_bus_message_read(value, "u", &number) <= 0) return {};
    return number;
}

/// Channels outside 0..1 are how a desktop says that it has no accent colour.
std::optional<std::array<std::uint8_t, 3>> readColour(std::string_view signature, sd_bus_message* value) {
    std::array<double, 3> channels{};
    if (signature != "(ddd)" || sd_bus_message_read(value, "(ddd)", &channels[0], &channels[1], &channels[2]) <= 0 ||
        !std::ranges::all_of(channels, [](double channel) { return channel >= 0 && channel <= 1; }))
        return {};
    std::array<std::uint8_t, 3> colour{};
    std::ranges::transform(channels, colour.begin(),
                           [](double channel) { return static_cast<std::uint8_t>(std::lround(channel * 255)); });
    return colour;
}

Appearance::Scheme schemeOf(std::optional<std::uint32_t> number) {
    using Scheme = Appearance::Scheme;
    return number == 1u ? Scheme::dark : number == 2u ? Scheme::light : Scheme::unknown;
}

}  // namespace

Subscription PortalAppearance::onChange(std::function<void()> callback) {
    if (!name_ && !start_.isPending()) start_ = scheduler_.after({}, [this] { connect(); });
    return changes_.add(std::move(callback));
}

Subscription PortalAppearance::probe(Found found) {
    bus_.open();  // an absent bus answers like an absent portal
    return bus_.call(
        bus_.newCall(kService, kPath, kSettings, "ReadAll", "as", 1, kAppearance), kTimeout,
        [found = std::move(found)](const Bus::Answer& answer) {
            constexpr TextKey kNoPortal = textKey("there is no desktop portal; the panel stays dark");
            constexpr TextKey kNobody = textKey("the desktop portal knows no colours; the panel stays dark");
            constexpr TextKey kInstall = textKey("Install xdg-desktop-portal and the backend for this desktop");
            const bool isAbsent = !answer && (answer.error().code == ErrorCode::NotFound ||
                                              answer.error().code == ErrorCode::Disconnected);
            if (isAbsent) return found({{}, Sentence{kNoPortal}, Sentence{kInstall}});
            const bool isTold = answer && sd_bus_message_enter_container(*answer, 'a', "{sa{sv}}") > 0 &&
                                sd_bus_message_at_end(*answer, 0) == 0;
            found(isTold ? Finding{"portal"} : Finding{{}, Sentence{kNobody}, Sentence{kInstall}});
        });
}

void PortalAppearance::connect() {
    if (!bus_.open()) return;
    changed_ = bus_.onSignal(ruleFor(kService, kPath, kSettings, "SettingChanged"), [this](sd_bus_message* signal) {
        const char* name = nullptr;
        const char* key = nullptr;
        const char* contents = nullptr;
        if (sd_bus_message_read(signal, "ss", &name, &key) <= 0 ||
            sd_bus_message_peek_type(signal, nullptr, &contents) <= 0 ||
            sd_bus_message_enter_container(signal, 'v', contents) <= 0)
            return;
        auto told = told_;
        readSetting(told, name, key, contents, signal);
        take(told);
    });
    name_ = bus_.watchName(kService, [this](bool isOwned) { nameChanged(isOwned); });
}

// The first question is also asked of a portal that does not run: it is what starts it.
void PortalAppearance::nameChanged(bool isOwned) {
    if (isOwned || !std::exchange(hasAsked_, true)) readAll();
}

void PortalAppearance::readAll() {
    auto question = bus_.newCall(kService, kPath, kSettings, "ReadAll", "as", 2, kAppearance, kGnomeInterface);
    answer_ = bus_.call(std::move(question), kTimeout, [this](const Bus::Answer& answer) {
        if (!answer || sd_bus_message_enter_container(*answer, 'a', "{sa{sv}}") <= 0) return;
        Told told;
        while (sd_bus_message_enter_container(*answer, 'e', "sa{sv}") > 0) {
            const char* name = nullptr;
            const bool isRead =
                sd_bus_message_read(*answer, "s", &name) > 0 &&
                readDictionary(*answer, [&](const char* key, const char* signature, sd_bus_message* value) {
                    readSetting(told, name, key, signature, value);
                });
            if (!isRead || sd_bus_message_exit_container(*answer) < 0) return;
        }
        take(told);
    });
}

void PortalAppearance::readSetting(Told& told, std::string_view name, std::string_view key, std::string_view signature,
                                   sd_bus_message* value) {
    if (name == kAppearance && key == "color-scheme") {
        told.appearance.scheme = schemeOf(readNumber(signature, value));
    } else if (name == kAppearance && key == "accent-color") {
        told.appearance.accent = readColour(signature, value);
    } else if (name == kAppearance && key == "contrast") {
        told.appearance.highContrast = readNumber(signature, value) == 1u;
    } else if (name == kAppearance && key == "reduced-motion") {
        const auto number = readNumber(signature, value);
        told.reducedMotion = number ? std::optional(*number == 1u) : std::nullopt;
    } else if (name == kGnomeInterface && key == "enable-animations") {
        int isOn = 1;
        told.animations = {};
        if (signature == "b" && sd_bus_message_read(value, "b", &isOn) > 0) told.animations = isOn != 0;
    }
}

void PortalAppearance::take(const Told& told) {
    told_ = told;
    auto appearance = told.appearance;
    appearance.reducedMotion = told.reducedMotion.value_or(!told.animations.value_or(true));
    if (std::exchange(appearance_, appearance) != appearance) changes_.deliver();
}

}  // namespace dravo::dbus
