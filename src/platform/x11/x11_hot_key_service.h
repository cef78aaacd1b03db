#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "app/hot_key_service.h"
#include "base/descriptor_watch.h"
#include "base/scheduler.h"
#include "platform/x11/x11_connection.h"
#include "platform/x11/x11_keyboard.h"

namespace dravo::x11 {

/// Hot keys of an X server: the key is grabbed on the root window, with the asked modifiers and every combination of
/// the lock keys, and again whenever the keyboard mapping moves a modifier to another bit.
///
/// It has a connection of its own, made for the first hot key. When the server goes, the hot key goes in silence.
///
/// Thread: main thread. Lifetime: `watch` and `scheduler` outlive it, and it outlives its registration.
class X11HotKeyService : public HotKeyService {
public:
    /// `display` (":0"), or $DISPLAY when it is empty.
    X11HotKeyService(std::string display, DescriptorWatch& watch, Scheduler& scheduler);
    X11HotKeyService(const X11HotKeyService&) = delete;
    X11HotKeyService& operator=(const X11HotKeyService&) = delete;

    Result<Subscription> registerHotKey(HotKey hotKey, std::function<void()> onPress) override;
    Subscription probe(Found found) override;

private:
    /// What the server is asked for.
    struct Grab {
        xcb_keycode_t keycode = 0;
        std::vector<std::uint16_t> modifiers;  ///< One for each combination of lock keys.

        bool operator==(const Grab&) const = default;
    };
    struct Registration {
        HotKey hotKey;
        std::function<void()> onPress;
        Grab grab;  ///< What the server has granted; empty after a refusal.
        bool isHeld = false;
        Timer releaseLook = {};
    };

    Result<void> ensureConnection();
    [[nodiscard]] Result<Grab> grabFor(HotKey hotKey) const;
    Result<void> take(const Grab& grab);
    void letGo(const Grab& grab);
    void retake();
    [[nodiscard]] bool isDown(xcb_keycode_t keycode);
    void noteQueuedEvents();
    void handleEvents();
    void handle(const xcb_generic_event_t& event);
    void pressed(const xcb_key_press_event_t& event);
    void followMapping();
    void watchForRelease();

    std::string display_;
    DescriptorWatch& watch_;
    Scheduler& scheduler_;
    std::optional<Connection> connection_;
    KeyboardExtension extension_;
    ModifierBits bits_;
    bool mappingChanged_ = false;
    std::optional<Registration> registration_;
    Timer queuedEvents_;
    Subscription readable_;
};

}  // namespace dravo::x11
