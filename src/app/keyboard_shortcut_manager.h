#pragma once

#include <functional>
#include <memory>
#include <optional>

#include "app/hot_key_service.h"
#include "base/scheduler.h"
#include "filter/preferences_store.h"

namespace dravo {

/// The global shortcut: keeps the stored key combination registered while it is wanted, and toggles when it is pressed.
///
/// The preferences say what is wanted and what is stored; this holds only the registration. A change of the stored
/// shortcut from outside takes effect at once.
///
/// Thread: main thread. Lifetime: everything passed in outlives it; its end ends the registration.
class KeyboardShortcutManager : public Probed {
public:
    KeyboardShortcutManager(HotKeyService& service, PreferencesStore& preferences, Scheduler& scheduler);
    KeyboardShortcutManager(const KeyboardShortcutManager&) = delete;
    KeyboardShortcutManager& operator=(const KeyboardShortcutManager&) = delete;

    /// What a press does, called from the loop once for each press.
    std::function<void()> onToggle;

    /// Registers the stored shortcut, in place of the one that was registered, whether or not it is enabled. True when
    /// it is registered; false when another program has it or it has no key here, and then none is registered.
    bool registerHotKey();
    /// Registers none until one of the calls here wants it back: an edit from outside does not.
    void holdBack();

    /// Registers it if it is enabled; else none is registered. A refusal is a line on standard error.
    void registerIfEnabled();

    /// Stores whether the shortcut is wanted, and acts on it.
    void setEnabled(bool enabled);

    /// Whether the shortcut is delivered, or could be where it is not wanted.
    Subscription probe(Found found) override;

    /// Stores Control Shift E, and registers it if the shortcut is enabled.
    void resetToDefault();

private:
    [[nodiscard]] Result<void> request();
    [[nodiscard]] Result<void> requestStored();
    void pressed();

    HotKeyService& service_;
    PreferencesStore& preferences_;
    Scheduler& scheduler_;
    Subscription eventHotKey_;
    std::optional<Finding> refusal_;  ///< Of what was asked for last.
    bool isHeldBack_ = false;
    Subscription outsideChanges_;
    std::shared_ptr<const char> life_ = std::make_shared<const char>();  ///< Ends with this; posted calls look.
};

}  // namespace dravo
