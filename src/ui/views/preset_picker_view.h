#pragma once

#include "app/preset_editing.h"
#include "ui/controls/card.h"
#include "ui/controls/label.h"
#include "ui/controls/menu_button.h"
#include "ui/views/view.h"

namespace dravo::ui {

class PresetEditorView;

/// Chooses the preset, reverts what was adjusted since, and opens the editor.
class PresetPickerView : public View {
public:
    PresetPickerView(const PanelParts& parts, PresetEditing& editing);
    void refresh() override;

    /// Closes what is open inside: the question or message first, then the editor. False if nothing is.
    bool closeInnermost();

private:
    [[nodiscard]] QLayout* makePickerRow();
    [[nodiscard]] QWidget* makeEditedRow();
    [[nodiscard]] std::vector<MenuLine> presetLines();
    void appendExchangeLines(std::vector<MenuLine>& lines);
    void toggleEditor();
    void deleteSelected();
    void importFile();
    void exportFile();
    void tell(const QString& title, const QString& message);
    void refreshCard();

    PresetEditing& editing_;
    MenuButton* picker_ = nullptr;
    IconButton* edit_ = nullptr;
    IconButton* remove_ = nullptr;
    IconButton* add_ = nullptr;
    QWidget* editedRow_ = nullptr;
    Card* card_;
    PresetEditorView* editor_;
    std::string deletionOf_;  ///< the id of the preset that the card asks about; empty: it does not ask
    QString messageTitle_;    ///< what went wrong with a file; empty: nothing to tell
    QString message_;
};

}  // namespace dravo::ui
