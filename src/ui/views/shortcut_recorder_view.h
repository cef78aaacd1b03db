#pragma once

#include "app/shortcut_recorder.h"
#include "ui/controls/button.h"
#include "ui/views/view.h"

namespace dravo::ui {

/// The button that shows the global shortcut and records a new one.
class RecorderButton : public PushButton {
    Q_OBJECT

public:
    explicit RecorderButton(const PanelParts& parts);

    void refresh();
    /// Ends a recording as Escape does.
    void cancel() { recorder_.cancel(); }

protected:
    bool event(QEvent* event) override;
    void focusOutEvent(QFocusEvent* event) override;
    void hideEvent(QHideEvent* event) override;

private:
    bool takeKey(const QKeyEvent& key);

    ShortcutRecorder recorder_;
    Subscription changes_;
    PreferencesStore& preferences_;
    Scheduler& scheduler_;
};

}  // namespace dravo::ui
