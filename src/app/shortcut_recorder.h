#pragma once

#include <cstdint>
#include <string>

#include "app/keyboard_shortcut_manager.h"
#include "base/observable.h"
#include "base/scheduler.h"
#include "filter/preferences_store.h"

namespace dravo {

/// The recording of a new shortcut, without its control: the control forwards clicks and keys, and shows the text.
///
/// Thread: main thread. Lifetime: everything passed in outlives it. One recorder belongs to one control and goes with
/// it; a recording that is not over then is cancelled.
class ShortcutRecorder {
public:
    ShortcutRecorder(KeyboardShortcutManager& manager, PreferencesStore& preferences, Scheduler& scheduler);
    ~ShortcutRecorder();
    ShortcutRecorder(const ShortcutRecorder&) = delete;
    ShortcutRecorder& operator=(const ShortcutRecorder&) = delete;

    /// Announced before `isRecording` or `isShowingUnavailable` changes. The stored shortcut is announced by its store.
    [[nodiscard]] const Observable& changes() const { return changes_; }

    /// While it records, every key press belongs to `keyDown`, and the present shortcut does nothing.
    [[nodiscard]] bool isRecording() const { return isRecording_; }
    /// For 1.6 s after a recorded shortcut turned out to be another program's.
    [[nodiscard]] bool isShowingUnavailable() const { return isShowingUnavailable_; }

    /// What the control shows in place of the stored shortcut; empty: nothing.
    [[nodiscard]] std::string notice() const;

    /// The control was clicked. Nothing happens while it records already.
    void startRecording();

    /// A key was pressed, numbered as in keyboard_shortcut.h; the control leaves out repeats, modifiers and keys
    /// without a key code. Escape ends the recording and keeps the shortcut, a combination that can be recorded is
    /// stored and takes effect, any other key is ignored. A combination that another program has is not kept.
    void keyDown(std::int64_t keyCode, std::int64_t modifiers);

    /// Ends the recording as Escape does.
    void cancel();

private:
    void setRecording(bool isRecording);
    void setShowingUnavailable(bool isShowing);
    void save(std::int64_t keyCode, std::int64_t modifiers);

    KeyboardShortcutManager& manager_;
    PreferencesStore& preferences_;
    Scheduler& scheduler_;
    Observable changes_;
    bool isRecording_ = false;
    bool isShowingUnavailable_ = false;
    Timer unavailableEnds_;
};

}  // namespace dravo
