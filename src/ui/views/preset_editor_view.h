#pragma once

#include <functional>
#include <vector>

#include "app/preset_editing.h"
#include "ui/controls/adjustment_slider.h"
#include "ui/controls/curve_view.h"
#include "ui/controls/fields.h"
#include "ui/controls/label.h"
#include "ui/views/view.h"

namespace dravo::ui {

/// The fields of a preset that is being made or changed, the curves that it gives, and what it removes.
class PresetEditorView : public View {
public:
    PresetEditorView(const PanelParts& parts, PresetEditing& editing, std::function<void(const Error&)> onSaveFailed);
    void refresh() override;

protected:
    void appeared() override { name_->setFocus(Qt::OtherFocusReason); }
    void disappeared() override;

private:
    enum class Figure { decimal, whole, percent, signedPercent };
    struct Field {
        double FilterPreset::*member;
        Figure figure;
        AdjustmentSlider* slider;
        FigureLabel* value;
    };
    struct FieldLook;

    [[nodiscard]] QLayout* makeField(const FieldLook& look);
    [[nodiscard]] QWidget* makeAdvanced();
    [[nodiscard]] QLayout* makeButtons();
    void alignLabels();
    void setExpanded(bool isExpanded);
    [[nodiscard]] static QString figureOf(double value, Figure figure);
    void save();

    PresetEditing& editing_;
    std::function<void(const Error&)> onSaveFailed_;
    Label* title_;
    TextField* name_;
    CurveView* curve_;
    FigureLabel* melanopic_;
    std::vector<Field> fields_;
    std::vector<Label*> labels_;
    DisclosureButton* header_;
    QWidget* advanced_;
    PushButton* save_ = nullptr;
};

}  // namespace dravo::ui
