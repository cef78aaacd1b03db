#include "app/keyboard_shortcut_manager.h"

#include <algorithm>
#include <limits>
#include <utility>

#include "app/keyboard_shortcut.h"
#include "base/localized.h"
#include "base/report.h"

namespace dravo {

namespace {

bool isOfTheShortcut(const std::string& key) {
    return key == preference::kShortcutKeyCode || key == preference::kShortcutModifiers ||
           key == preference::kShortcutEnabled;
}

}  // namespace

KeyboardShortcutManager::KeyboardShortcutManager(HotKeyService& service, PreferencesStore& preferences,
                                                 Scheduler& scheduler)
    : service_(service), preferences_(preferences), scheduler_(scheduler) {
    outsideChanges_ = preferences_.onOutsideChange([this](const DefaultsKeys& keys) {
        if (!isHeldBack_ && std::ranges::any_of(keys, isOfTheShortcut)) registerIfEnabled();
    });
}

bool KeyboardShortcutManager::registerHotKey() {
    isHeldBack_ = false;
    return request().hasValue();
}

void KeyboardShortcutManager::holdBack() {
    eventHotKey_.reset();
    isHeldBack_ = true;
}

Subscription KeyboardShortcutManager::probe(Found found) {
    if (!refusal_ || !preferences_.shortcutEnabled()) return service_.probe(std::move(found));
    found(*refusal_);
    return {};
}

Result<void> KeyboardShortcutManager::request() {
    const auto registered = requestStored();
    refusal_ = registered ? std::nullopt : std::optional(findingOf(registered.error()));
    return registered;
}

Result<void> KeyboardShortcutManager::requestStored() {
    eventHotKey_.reset();
    const std::int64_t keyCode = preferences_.shortcutKeyCode();
    const std::int64_t modifiers = preferences_.shortcutModifiers();
    if (!std::in_range<std::uint32_t>(keyCode) || !std::in_range<std::uint32_t>(modifiers))
        return Error{ErrorCode::InvalidInput, textKey("there is no such key")};
    auto registration = service_.registerHotKey(
        {static_cast<std::uint32_t>(keyCode), static_cast<std::uint32_t>(modifiers)}, [this] { pressed(); });
    if (!registration) return registration.error();
    eventHotKey_ = std::move(*registration);
    return {};
}

void KeyboardShortcutManager::registerIfEnabled() {
    isHeldBack_ = false;
    if (!preferences_.shortcutEnabled()) {
        eventHotKey_.reset();
        return;
    }
    const auto registered = request();
    if (registered) return;
    const std::string shortcut = spokenShortcut(preferences_.shortcutKeyCode(), preferences_.shortcutModifiers());
    reportOnce("shortcut " + shortcut,
               Sentence(textKey("the shortcut %1$@ does not work: %2$@"), {shortcut, registered.error().message}));
}

void KeyboardShortcutManager::setEnabled(bool enabled) {
    preferences_.setShortcutEnabled(enabled);
    registerIfEnabled();
}

void KeyboardShortcutManager::resetToDefault() {
    preferences_.setShortcut(kDefaultShortcutKeyCode, kDefaultShortcutModifiers);
    registerIfEnabled();
}

// What a toggle sets off is not the service's to wait for.
void KeyboardShortcutManager::pressed() {
    scheduler_.post([this, alive = std::weak_ptr<const char>(life_)] {
        if (!alive.expired() && onToggle) onToggle();
    });
}

}  // namespace dravo
