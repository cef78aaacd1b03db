#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <utility>

#include "app/hot_key_service.h"
#include "base/observable.h"
#include "base/scheduler.h"
#include "platform/dbus/bus.h"

namespace dravo::dbus {

/// A hot key through the desktop's portal (org.freedesktop.portal.GlobalShortcuts): what works in a Wayland session.
///
/// The desktop decides which keys it is. Those asked for are a suggestion, which some desktops put to the person and
/// others pass over. A portal that starts anew is asked anew; one that is not there may come later.
///
/// A program outside a sandbox has to tell the portal its name before it asks for anything else on the same connection,
/// so this is made before any other adapter that speaks to the portal. Connects from the loop.
/// Lifetime: what it is given outlives it.
class PortalHotKeyService final : public HotKeyService {
public:
    /// `appId` is the name of the program's desktop file, under which the desktop keeps the keys. `command` does what
    /// the hot key does, for desktops where only their own settings bind keys.
    PortalHotKeyService(Bus& sessionBus, Scheduler& scheduler, std::string appId, std::string command);

    Result<Subscription> registerHotKey(HotKey hotKey, std::function<void()> onPress) override;
    const DesktopKeys* desktopKeys() const override { return &keys_; }
    Subscription onDesktopKeysChange(std::function<void()> callback) override {
        return changes_.add(std::move(callback));
    }
    void configure() override;

private:
    enum class Step { none, creating, binding };

    struct Registration {
        HotKey hotKey;
        std::function<void()> onPress;
    };

    void connect();
    void nameChanged(bool isOwned);
    void introduce();
    void versionTold(const Bus::Answer& answer);
    void ask(Step step, Message question);
    void createSession();
    void bind();
    void onResponse(sd_bus_message* response);
    void onActivated(sd_bus_message* signal);
    void take(const std::string& keys);
    void endSession();
    void cannot(Finding finding);
    void become(DesktopKeys keys);
    [[nodiscard]] std::string newToken();

    Bus& bus_;
    Scheduler& scheduler_;
    std::string appId_;
    std::string command_;
    DesktopKeys keys_;
    std::optional<Registration> registration_;
    std::string session_;        ///< Its object, once the portal has made it.
    Step step_ = Step::none;     ///< What `request_` is about.
    std::string request_;        ///< The object through which the portal answers.
    std::uint32_t version_ = 0;  ///< Of the portal's interface; 0: there is none, or it is not known yet.
    bool hasAsked_ = false;
    int tokens_ = 0;
    SubscriberList<> changes_;
    Timer start_;
    Subscription name_;
    Subscription responses_;
    Subscription activations_;
    Subscription keyChanges_;
    Subscription ends_;
    Subscription answer_;
};

/// A hot key as the portal takes suggestions: "CTRL+SHIFT+e". Empty where a key has no name for it.
[[nodiscard]] std::string portalTrigger(HotKey hotKey);

}  // namespace dravo::dbus
