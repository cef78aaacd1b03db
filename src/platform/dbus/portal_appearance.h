#pragma once

#include <optional>
#include <string_view>

#include "app/appearance_service.h"
#include "platform/dbus/bus.h"

namespace dravo::dbus {

/// The desktop's appearance as its settings portal tells it (org.freedesktop.portal.Settings).
///
/// Asks in the loop after the first subscription, and again whenever the portal starts anew. A portal that goes away
/// changes nothing: what it said last is the best that is known. Reduced motion is the portal's own setting where it
/// has one, else GNOME's switch for animations. A value that makes no sense, or of another type, counts as not told.
///
/// Lifetime: what it is given outlives it.
class PortalAppearance final : public AppearanceService {
public:
    PortalAppearance(Bus& sessionBus, Scheduler& scheduler) : bus_(sessionBus), scheduler_(scheduler) {}

    Appearance appearance() const override { return appearance_; }
    Subscription onChange(std::function<void()> callback) override;
    Subscription probe(Found found) override;

private:
    struct Told {
        Appearance appearance;  ///< Without `reducedMotion`.
        std::optional<bool> reducedMotion;
        std::optional<bool> animations;
    };

    void connect();
    void readAll();
    void nameChanged(bool isOwned);
    void take(const Told& told);
    static void readSetting(Told& told, std::string_view name, std::string_view key, std::string_view signature,
                            sd_bus_message* value);

    Bus& bus_;
    Scheduler& scheduler_;
    Told told_;
    Appearance appearance_;
    bool hasAsked_ = false;
    SubscriberList<> changes_;
    Timer start_;
    Subscription changed_;
    Subscription answer_;
    Subscription name_;
};

}  // namespace dravo::dbus
