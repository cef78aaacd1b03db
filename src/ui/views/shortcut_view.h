#pragma once

#include "ui/controls/label.h"
#include "ui/controls/toggle_row.h"
#include "ui/views/view.h"

namespace dravo::ui {

class RecorderButton;

/// The global shortcut, and its keys: recorded here where they are ours to take, told where the desktop chooses them,
/// and where nobody can have any, the command to bind in the desktop's own settings.
class ShortcutView : public View {
public:
    explicit ShortcutView(const PanelParts& parts);
    void refresh() override;

protected:
    void appeared() override;

private:
    [[nodiscard]] QWidget* makeRecorderRow();
    [[nodiscard]] QWidget* makeCommandRow();

    ToggleRow* switch_;
    RecorderButton* recorder_ = nullptr;
    QWidget* recorderRow_;
    Label* keys_;
    PushButton* change_;
    QWidget* keysRow_;
    Label* title_;
    Label* advice_;
    Label* command_ = nullptr;
    PushButton* copy_ = nullptr;
    QWidget* commandRow_;
};

}  // namespace dravo::ui
