#pragma once

#include <cstdint>

#include "platform/x11/x11_connection.h"

namespace dravo::x11 {

/// Which modifier bits (XCB_MOD_MASK_...) the keyboard mapping gives to the modifiers that have none of their own;
/// 0: no key carries it. Mappings differ, and people change them at any time.
struct ModifierBits {
    std::uint16_t alt = 0;
    std::uint16_t super = 0;
    std::uint16_t numLock = 0;
    std::uint16_t scrollLock = 0;

    bool operator==(const ModifierBits&) const = default;
};

/// The keyboard extension, as far as this connection uses it.
struct KeyboardExtension {
    std::uint8_t firstEvent = 0;

    /// Whether the event says that the keyboard mapping may have changed.
    [[nodiscard]] bool tellsOfMapping(const xcb_generic_event_t& event) const;
};

/// Asks the server to tell of changes of the mapping, and to send a held key as presses without releases between them.
/// The server then also matches grabs whichever layout is in use. Two round trips.
/// Errors: `Unsupported` (a server without the extension), `Disconnected`.
[[nodiscard]] Result<KeyboardExtension> useKeyboardExtension(const Connection& connection);

/// What the mapping says now, in one round trip. Errors: `Disconnected`.
[[nodiscard]] Result<ModifierBits> queryModifiers(const Connection& connection);

}  // namespace dravo::x11
