#include "ui/views/shortcut_recorder_view.h"

#include <QKeyEvent>
#include <QPointer>

#include "app/keyboard_shortcut.h"
#include "ui/texts.h"

namespace dravo::ui {

namespace {

std::int64_t modifiersOf(const QKeyEvent& key) {
    using namespace shortcut_modifier;
    std::int64_t mask = 0;
    if (key.modifiers() & Qt::MetaModifier) mask |= kSuper;
    if (key.modifiers() & Qt::ShiftModifier) mask |= kShift;
    if (key.modifiers() & Qt::AltModifier) mask |= kAlt;
    if (key.modifiers() & Qt::ControlModifier) mask |= kControl;
    return mask;
}

}  // namespace

RecorderButton::RecorderButton(const PanelParts& parts)
    : PushButton({}, Kind::plain,
                 [this] {
                     setFocus(Qt::OtherFocusReason);  // assistive technology presses it from afar
                     recorder_.startRecording();
                 }),
      recorder_(parts.shortcutManager, parts.preferences, parts.scheduler),
      preferences_(parts.preferences),
      scheduler_(parts.scheduler) {
    setAccessibleDescription(ui::text("Global Shortcut"));
    changes_ = recorder_.changes().onWillChange([this] {
        scheduler_.post([self = QPointer(this)] {
            if (self) self->refresh();
        });
    });
}

void RecorderButton::refresh() {
    const QString notice = toQt(recorder_.notice());
    const auto stored = shortcutText(preferences_.shortcutKeyCode(), preferences_.shortcutModifiers(), font());
    setText(notice.isEmpty() ? stored.shown : notice);
    setAccessibleName(notice.isEmpty() ? stored.spoken : notice);
    setMuted(!notice.isEmpty());
    updateGeometry();
    update();
}

bool RecorderButton::event(QEvent* event) {
    if (recorder_.isRecording()) {
        // Before the toolkit takes Tab and Space for itself.
        if (event->type() == QEvent::ShortcutOverride) {
            event->accept();
            return true;
        }
        if (event->type() == QEvent::KeyPress) return takeKey(*static_cast<QKeyEvent*>(event));
        if (event->type() == QEvent::KeyRelease) return true;
    }
    return PushButton::event(event);
}

bool RecorderButton::takeKey(const QKeyEvent& key) {
    if (key.isAutoRepeat()) return true;
    if (const auto code = keyCodeOf(key.nativeScanCode())) recorder_.keyDown(*code, modifiersOf(key));
    return true;
}

void RecorderButton::focusOutEvent(QFocusEvent* event) {
    recorder_.cancel();
    PushButton::focusOutEvent(event);
}

void RecorderButton::hideEvent(QHideEvent* event) {
    recorder_.cancel();
    PushButton::hideEvent(event);
}

}  // namespace dravo::ui
