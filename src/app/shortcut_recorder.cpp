#include "app/shortcut_recorder.h"

#include <chrono>

#include "app/keyboard_shortcut.h"
#include "base/localized.h"

namespace dravo {

namespace {

constexpr std::chrono::milliseconds kUnavailableFor{1600};

}  // namespace

ShortcutRecorder::ShortcutRecorder(KeyboardShortcutManager& manager, PreferencesStore& preferences,
                                   Scheduler& scheduler)
    : manager_(manager), preferences_(preferences), scheduler_(scheduler) {}

ShortcutRecorder::~ShortcutRecorder() { cancel(); }

std::string ShortcutRecorder::notice() const {
    if (isRecording_) return localized("Press shortcut…");
    return isShowingUnavailable_ ? localized("Shortcut unavailable") : std::string();
}

void ShortcutRecorder::startRecording() {
    if (isRecording_) return;
    setRecording(true);
    setShowingUnavailable(false);
    manager_.holdBack();
}

void ShortcutRecorder::keyDown(std::int64_t keyCode, std::int64_t modifiers) {
    if (!isRecording_) return;
    if (keyCode == kEscapeKeyCode) {
        cancel();
        return;
    }
    modifiers &= shortcut_modifier::kAll;
    if (!isRecordable(keyCode, modifiers)) return;
    setRecording(false);
    save(keyCode, modifiers);
}

void ShortcutRecorder::cancel() {
    if (!isRecording_) return;
    setRecording(false);
    manager_.registerIfEnabled();
}

void ShortcutRecorder::save(std::int64_t keyCode, std::int64_t modifiers) {
    const std::int64_t previousKeyCode = preferences_.shortcutKeyCode();
    const std::int64_t previousModifiers = preferences_.shortcutModifiers();
    preferences_.setShortcut(keyCode, modifiers);
    if (!preferences_.shortcutEnabled()) return;
    if (manager_.registerHotKey()) return;

    preferences_.setShortcut(previousKeyCode, previousModifiers);
    manager_.registerIfEnabled();
    setShowingUnavailable(true);
    unavailableEnds_ = scheduler_.after(kUnavailableFor, [this] { setShowingUnavailable(false); });
}

void ShortcutRecorder::setRecording(bool isRecording) {
    changes_.notifyWillChange();
    isRecording_ = isRecording;
}

void ShortcutRecorder::setShowingUnavailable(bool isShowing) {
    if (isShowing == isShowingUnavailable_) return;
    changes_.notifyWillChange();
    isShowingUnavailable_ = isShowing;
    unavailableEnds_.cancel();
}

}  // namespace dravo
