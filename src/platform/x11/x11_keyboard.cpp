#include "platform/x11/x11_keyboard.h"

// The C header names a member as C++ names a keyword.
#define explicit explicit_
#include <xcb/xkb.h>
#undef explicit

#include <algorithm>
#include <span>

#include "base/localized.h"
#include "platform/x11/x11_topology.h"

namespace dravo::x11 {

namespace {

// From the protocol's list of keysyms.
constexpr xcb_keysym_t kNumLock = 0xff7f;
constexpr xcb_keysym_t kScrollLock = 0xff14;
constexpr xcb_keysym_t kAltLeft = 0xffe9;
constexpr xcb_keysym_t kAltRight = 0xffea;
constexpr xcb_keysym_t kSuperLeft = 0xffeb;
constexpr xcb_keysym_t kSuperRight = 0xffec;

void note(ModifierBits& bits, xcb_keysym_t keysym, std::uint16_t bit) {
    const auto take = [&](std::uint16_t& place) {
        if (place == 0) place = bit;
    };
    if (keysym == kNumLock) take(bits.numLock);
    if (keysym == kScrollLock) take(bits.scrollLock);
    if (keysym == kAltLeft || keysym == kAltRight) take(bits.alt);
    if (keysym == kSuperLeft || keysym == kSuperRight) take(bits.super);
}

}  // namespace

bool KeyboardExtension::tellsOfMapping(const xcb_generic_event_t& event) const {
    const int type = event.response_type & 0x7f;
    if (type == XCB_MAPPING_NOTIFY) return true;
    // All of the extension's events have one number; which one it is stands where others have their detail.
    return type == firstEvent && (event.pad0 == XCB_XKB_MAP_NOTIFY || event.pad0 == XCB_XKB_NEW_KEYBOARD_NOTIFY);
}

Result<KeyboardExtension> useKeyboardExtension(const Connection& connection) {
    xcb_connection_t* const server = connection.get();
    const Error unsupported{ErrorCode::Unsupported, textKey("this X server has no keyboard extension")};
    const auto* const extension = xcb_get_extension_data(server, &xcb_xkb_id);
    if (connection.isBroken()) return disconnected();
    if (!extension || extension->present == 0) return unsupported;

    constexpr std::uint16_t kCoreKeyboard = XCB_XKB_ID_USE_CORE_KBD;
    constexpr std::uint16_t kEvents = XCB_XKB_EVENT_TYPE_MAP_NOTIFY | XCB_XKB_EVENT_TYPE_NEW_KEYBOARD_NOTIFY;
    constexpr std::uint16_t kMapParts = XCB_XKB_MAP_PART_KEY_SYMS | XCB_XKB_MAP_PART_MODIFIER_MAP;
    constexpr std::uint32_t kRepeats = XCB_XKB_PER_CLIENT_FLAG_DETECTABLE_AUTO_REPEAT;
    const auto use = xcb_xkb_use_extension(server, XCB_XKB_MAJOR_VERSION, XCB_XKB_MINOR_VERSION);
    const auto setFlags = xcb_xkb_per_client_flags(server, kCoreKeyboard, kRepeats, kRepeats, 0, 0, 0);
    xcb_xkb_select_events(server, kCoreKeyboard, kEvents, 0, kEvents, kMapParts, kMapParts, nullptr);

    const auto used = fetchReply(server, xcb_xkb_use_extension_reply, use);
    const auto flags = fetchReply(server, xcb_xkb_per_client_flags_reply, setFlags);
    if (connection.isBroken()) return disconnected();
    if (!used || used->supported == 0 || !flags || (flags->value & kRepeats) == 0) return unsupported;
    return KeyboardExtension{extension->first_event};
}

Result<ModifierBits> queryModifiers(const Connection& connection) {
    xcb_connection_t* const server = connection.get();
    const auto* const setup = xcb_get_setup(server);
    const int first = setup->min_keycode;
    const int count = setup->max_keycode - first + 1;
    const auto askModifiers = xcb_get_modifier_mapping(server);
    const auto askKeysyms = xcb_get_keyboard_mapping(server, setup->min_keycode, static_cast<std::uint8_t>(count));
    const auto modifiers = fetchReply(server, xcb_get_modifier_mapping_reply, askModifiers);
    const auto mapping = fetchReply(server, xcb_get_keyboard_mapping_reply, askKeysyms);
    if (!modifiers || !mapping) return disconnected();

    const std::span keysyms(xcb_get_keyboard_mapping_keysyms(mapping.get()),
                            static_cast<std::size_t>(xcb_get_keyboard_mapping_keysyms_length(mapping.get())));
    const std::span keycodes(xcb_get_modifier_mapping_keycodes(modifiers.get()),
                             static_cast<std::size_t>(xcb_get_modifier_mapping_keycodes_length(modifiers.get())));
    const std::size_t perKey = mapping->keysyms_per_keycode;
    const std::size_t perModifier = modifiers->keycodes_per_modifier;
    ModifierBits bits;
    for (std::size_t i = XCB_MAP_INDEX_1 * perModifier; i < keycodes.size(); ++i) {
        if (keycodes[i] < first) continue;  // 0: an empty place
        const auto bit = static_cast<std::uint16_t>(1U << (i / perModifier));
        const std::size_t begin = (keycodes[i] - static_cast<std::size_t>(first)) * perKey;
        for (std::size_t k = begin; k < std::min(begin + perKey, keysyms.size()); ++k) note(bits, keysyms[k], bit);
    }
    return bits;
}

}  // namespace dravo::x11
