#include "platform/x11/x11_hot_key_service.h"

#include <cassert>
#include <chrono>
#include <utility>

#include "app/keyboard_shortcut.h"
#include "base/localized.h"
#include "base/report.h"
#include "platform/x11/x11_topology.h"

namespace dravo::x11 {

namespace {

constexpr std::chrono::milliseconds kReleaseLookPeriod{50};

}  // namespace

X11HotKeyService::X11HotKeyService(std::string display, DescriptorWatch& watch, Scheduler& scheduler)
    : display_(std::move(display)), watch_(watch), scheduler_(scheduler) {}

Result<Subscription> X11HotKeyService::registerHotKey(HotKey hotKey, std::function<void()> onPress) {
    assert(!registration_);
    if (const auto connected = ensureConnection(); !connected) return connected.error();
    auto grab = grabFor(hotKey);
    if (!grab) return grab.error();
    if (const auto taken = take(*grab); !taken) return taken.error();

    const bool isHeld = isDown(grab->keycode);
    // All that the server had to tell by now has come with its answer: an earlier hot key's.
    while (const Reply<xcb_generic_event_t> event{xcb_poll_for_queued_event(connection_->get())}) handle(*event);
    registration_ = Registration{hotKey, std::move(onPress), std::move(*grab), isHeld};
    if (isHeld) watchForRelease();
    return Subscription([this] {
        if (connection_) letGo(registration_->grab);
        registration_.reset();
    });
}

Subscription X11HotKeyService::probe(Found found) {
    const auto connected = ensureConnection();
    found(connected ? Finding{"x11"} : findingOf(connected.error()));
    return {};
}

// A combination that has just been recorded is still held, and its repeats reach the new grab. Its release does only
// if one of them did.
void X11HotKeyService::watchForRelease() {
    registration_->releaseLook = scheduler_.every(kReleaseLookPeriod, [this] {
        registration_->isHeld = registration_->isHeld && isDown(registration_->grab.keycode);
        if (!registration_->isHeld) registration_->releaseLook.cancel();
    });
}

bool X11HotKeyService::isDown(xcb_keycode_t keycode) {
    if (!connection_) return false;
    const auto cookie = xcb_query_keymap(connection_->get());
    const auto keys = fetchReply(connection_->get(), xcb_query_keymap_reply, cookie);
    noteQueuedEvents();
    return keys && (keys->keys[keycode / 8] & (1U << (keycode % 8))) != 0;
}

Result<void> X11HotKeyService::ensureConnection() {
    if (connection_ && !connection_->isBroken()) return {};
    readable_.reset();
    connection_.reset();
    auto connection = connect(display_);
    if (!connection) return connection.error();
    const auto extension = useKeyboardExtension(*connection);
    if (!extension) return extension.error();
    const auto bits = queryModifiers(*connection);
    if (!bits) return bits.error();
    extension_ = *extension;
    bits_ = *bits;
    connection_ = std::move(*connection);
    readable_ = watch_.whenReadable(xcb_get_file_descriptor(connection_->get()), [this] { handleEvents(); });
    return {};
}

Result<X11HotKeyService::Grab> X11HotKeyService::grabFor(HotKey hotKey) const {
    const auto* const setup = xcb_get_setup(connection_->get());
    const auto keycode = scanCodeOf(hotKey.keyCode);
    if (!keycode || *keycode < setup->min_keycode || *keycode > setup->max_keycode)
        return Error{ErrorCode::Unsupported, textKey("this keyboard has no such key")};

    const std::pair<std::int64_t, std::uint16_t> parts[] = {
        {shortcut_modifier::kShift, XCB_MOD_MASK_SHIFT},
        {shortcut_modifier::kControl, XCB_MOD_MASK_CONTROL},
        {shortcut_modifier::kAlt, bits_.alt},
        {shortcut_modifier::kSuper, bits_.super},
    };
    unsigned wanted = 0;
    for (const auto& [modifier, bit] : parts) {
        if ((hotKey.modifiers & modifier) == 0) continue;
        if (bit == 0) return Error{ErrorCode::Unsupported, textKey("this keyboard has no such modifier")};
        wanted |= bit;
    }
    const unsigned locks = (XCB_MOD_MASK_LOCK | bits_.numLock | bits_.scrollLock) & ~wanted;
    Grab grab{*keycode, {}};
    for (unsigned on = locks;; on = (on - 1) & locks) {
        grab.modifiers.push_back(static_cast<std::uint16_t>(wanted | on));
        if (on == 0) return grab;
    }
}

// All or none: a shortcut that works unless Caps Lock is on is one that fails for no reason anybody sees.
Result<void> X11HotKeyService::take(const Grab& grab) {
    xcb_connection_t* const server = connection_->get();
    std::vector<xcb_void_cookie_t> cookies;
    for (const auto modifiers : grab.modifiers) {
        cookies.push_back(xcb_grab_key_checked(server, 0, connection_->root, modifiers, grab.keycode,
                                               XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_ASYNC));
    }
    std::uint8_t refusal = 0;
    for (const auto cookie : cookies) {
        const Reply<xcb_generic_error_t> error(xcb_request_check(server, cookie));
        if (error) refusal = error->error_code;
    }
    noteQueuedEvents();
    if (connection_->isBroken()) return disconnected();
    if (refusal == 0) return {};
    letGo(grab);
    if (refusal == XCB_ACCESS) return Error{ErrorCode::Busy, textKey("another program has it"), refusal};
    return Error{ErrorCode::Internal, textKey("the X server refuses it"), refusal};
}

void X11HotKeyService::letGo(const Grab& grab) {
    for (const auto modifiers : grab.modifiers)
        xcb_ungrab_key(connection_->get(), grab.keycode, connection_->root, modifiers);
    xcb_flush(connection_->get());
}

// Waiting for an answer brings events along; they lie in the library's queue while the descriptor stays silent.
void X11HotKeyService::noteQueuedEvents() {
    queuedEvents_ = scheduler_.after(Duration::zero(), [this] { handleEvents(); });
}

// An answer that is waited for may bring events along, the next change of the mapping among them.
void X11HotKeyService::handleEvents() {
    while (connection_) {
        while (const Reply<xcb_generic_event_t> event{xcb_poll_for_event(connection_->get())}) {
            handle(*event);
            if (!connection_) return;
        }
        if (connection_->isBroken()) {
            readable_.reset();
            connection_.reset();
        } else if (std::exchange(mappingChanged_, false)) {
            followMapping();
        } else {
            return;
        }
    }
}

void X11HotKeyService::handle(const xcb_generic_event_t& event) {
    if (extension_.tellsOfMapping(event)) {
        mappingChanged_ = true;
        return;
    }
    if (!registration_) return;
    const int type = event.response_type & 0x7f;
    if (type == XCB_KEY_PRESS) {
        pressed(reinterpret_cast<const xcb_key_press_event_t&>(event));
    } else if (type == XCB_KEY_RELEASE) {
        // While our key is held, the releases of all others come too.
        const auto& release = reinterpret_cast<const xcb_key_release_event_t&>(event);
        if (release.detail == registration_->grab.keycode) registration_->isHeld = false;
    }
}

void X11HotKeyService::pressed(const xcb_key_press_event_t& event) {
    if (event.detail != registration_->grab.keycode) return;
    if (std::exchange(registration_->isHeld, true)) return;
    const auto onPress = registration_->onPress;
    onPress();
}

void X11HotKeyService::followMapping() {
    const auto bits = queryModifiers(*connection_);
    if (!bits || *bits == bits_) return;
    bits_ = *bits;
    if (registration_) retake();
}

void X11HotKeyService::retake() {
    letGo(std::exchange(registration_->grab, {}));
    auto grab = grabFor(registration_->hotKey);
    const auto taken = grab ? take(*grab) : grab.error();
    if (taken) {
        registration_->grab = std::move(*grab);
    } else {
        reportOnce("hot-key-lost",
                   Sentence(textKey("the shortcut does not work any more: %@"), {taken.error().message}));
    }
}

}  // namespace dravo::x11
