#pragma once

#include <cstdint>
#include <functional>

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

/// A key combination that the desktop delivers to this program, whichever program is in front.
///
/// Thread: main thread. Lifetime: outlives the registration it handed out.
class HotKeyService : public Probed {
public:
    /// Takes `hotKey` until the handle ends. `onPress` comes from the loop: once for each press, however long the key
    /// is held, and whatever Caps Lock and its like say. It may end the registration and make another.
    /// REQUIRES: no other registration of this service lives.
    /// Errors: `Busy` (another program has it; nothing is taken), `Unsupported` (no such key or modifier here, or no
    /// way to take one), `Disconnected` (the display server is gone).
    [[nodiscard]] virtual Result<Subscription> registerHotKey(HotKey hotKey, std::function<void()> onPress) = 0;
};

}  // namespace dravo
