#pragma once

#include <cstdint>
#include <functional>
#include <string>

#include "base/probe.h"
#include "base/result.h"
#include "base/subscription.h"

namespace dravo {

/// A key and the modifiers held with it, by position and not by what the key writes: `keyCode` and `modifiers` are
/// numbered as in app/keyboard_shortcut.h.
struct HotKey {
    std::uint32_t keyCode = 0;
    std::uint32_t modifiers = 0;

    bool operator==(const HotKey&) const = default;
};

/// The keys of a hot key where the desktop and not the program decides which they are.
struct DesktopKeys {
    std::string keys = {};      ///< As the desktop writes them; empty: none, or not known yet.
    bool canConfigure = false;  ///< Whether `HotKeyService::configure` leads to where the person chooses them.
    Finding finding = {};       ///< Whether there can be any.

    bool operator==(const DesktopKeys&) const = default;
};

/// A key combination that the desktop delivers to this program, whichever program is in front.
///
/// Thread: main thread. Lifetime: outlives the registration it handed out.
class HotKeyService {
public:
    virtual ~HotKeyService() = default;

    /// Takes `hotKey` until the handle ends. `onPress` comes from the loop: once for each press, however long the key
    /// is held, and whatever Caps Lock and its like say. It may end the registration and make another.
    /// REQUIRES: no other registration of this service lives.
    /// Errors: `Busy` (another program has it; nothing is taken), `Unsupported` (no such key or modifier here, or no
    /// way to take one), `Disconnected` (the display server is gone).
    [[nodiscard]] virtual Result<Subscription> registerHotKey(HotKey hotKey, std::function<void()> onPress) = 0;

    /// Null where `registerHotKey` takes the keys that it is given. Else those are a suggestion, taken without an
    /// error, and this tells what became of it.
    [[nodiscard]] virtual const DesktopKeys* desktopKeys() const { return nullptr; }
    [[nodiscard]] virtual Subscription onDesktopKeysChange(std::function<void()>) { return {}; }

    /// Opens what the desktop has for choosing the keys. REQUIRES: `canConfigure`.
    virtual void configure() {}
};

}  // namespace dravo
