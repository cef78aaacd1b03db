#include "ui/views/preset_picker_view.h"

#include <algorithm>

#include "ui/controls/layout.h"
#include "ui/controls/row.h"
#include "ui/texts.h"
#include "ui/views/preset_editor_view.h"
#include "ui/views/preset_files.h"
#include "ui/views/swatch.h"

namespace dravo::ui {

namespace {

/// What is left for the choice of a preset of one's own, beside two buttons more.
constexpr int kOwnChoiceWidth = 130;

}  // namespace

PresetPickerView::PresetPickerView(const PanelParts& parts, PresetEditing& editing) : View(parts), editing_(editing) {
    auto* const column = layOut<QVBoxLayout>(this, Theme::kGap);
    column->addLayout(makePickerRow());
    editedRow_ = makeEditedRow();
    column->addWidget(editedRow_);
    card_ = new Card;
    column->addWidget(card_);
    editor_ = new PresetEditorView(parts, editing, [this](const Error& error) {
        tell(text("preset.save_failed", "The preset could not be saved"), toQt(localized(error.message)));
    });
    column->addWidget(editor_);
}

QLayout* PresetPickerView::makePickerRow() {
    auto* const row = new Row;
    row->addWidget(new Label(text("Preset"), TextStyle::body));
    auto* const widget = new QWidget;
    row->addWidget(widget);
    auto* const choice = layOut<QHBoxLayout>(widget, Theme::kGap);
    picker_ = new MenuButton(MenuButton::Size::regular, text("Preset"), [this] { return presetLines(); });
    choice->addWidget(picker_, 1);
    edit_ = new IconButton(Icon::edit, text("Edit this preset"),
                           [this] { editing_.beginChanging(parts_.filterState.selectedPreset); });
    remove_ = new IconButton(Icon::remove, text("Delete this preset"), [this] {
        deletionOf_ = parts_.filterState.selectedPreset.get().id;
        refresh();
    });
    add_ = new IconButton(Icon::add, {}, [this] { toggleEditor(); });
    auto* const buttons = bare<QHBoxLayout>(0);
    for (auto* const button : {edit_, remove_, add_}) buttons->addWidget(button);
    choice->addLayout(buttons);
    // Of one width for all presets, so that choosing another never moves the rows.
    int room = forText(kOwnChoiceWidth) + 2 * Theme::kTarget;
    for (const auto& preset : FilterPreset::builtIn())
        room = std::max(room, picker_->widthFor(toQt(preset.localizedName()), true));
    widget->setMinimumWidth(room + Theme::kGap + Theme::kTarget);
    return row;
}

QWidget* PresetPickerView::makeEditedRow() {
    auto* const widget = new QWidget;
    auto* const row = layOut<QHBoxLayout>(widget, Theme::kGap);
    row->addWidget(new Label(text("Edited"), TextStyle::caption2, Tone::secondary), 1);
    row->addWidget(
        new IconButton(Icon::revert, text("Revert to preset values"), [this] { parts_.filterState.revertToPreset(); }));
    return widget;
}

void PresetPickerView::refresh() {
    const FilterPreset& selected = parts_.filterState.selectedPreset;
    picker_->setChoice(toQt(selected.localizedName()), swatchImage(selected, devicePixelRatioF()));
    const bool isOwn = !selected.isBuiltIn && !editing_.isOpen();
    edit_->setVisible(isOwn);
    remove_->setVisible(isOwn);
    if (editing_.isOpen()) {
        add_->setIcon(Icon::cancel, text("Cancel"));
    } else {
        add_->setIcon(Icon::add, text("Save current settings as a preset"));
    }
    editedRow_->setVisible(parts_.filterState.isEdited());
    // Asked about one preset, it must not come to mean another.
    if (!isOwn || selected.id != deletionOf_) deletionOf_.clear();
    refreshCard();
    editor_->refresh();
    editor_->setVisible(editing_.isOpen());
}

void PresetPickerView::refreshCard() {
    using Kind = PushButton::Kind;
    if (!deletionOf_.empty()) {
        const QString name = toQt(parts_.filterState.selectedPreset.get().localizedName());
        card_->setContent(filled(text("preset.delete.title", "Delete \"%@\"?"), name),
                          text("preset.delete.message", "This preset will be removed permanently."),
                          {{text("Cancel"), Kind::plain, [this] { closeInnermost(); }},
                           {text("Delete"), Kind::destructive, [this] { deleteSelected(); }}});
    } else if (!messageTitle_.isEmpty()) {
        card_->setContent(messageTitle_, message_, {{text("OK"), Kind::plain, [this] { closeInnermost(); }}});
    }
    card_->setVisible(!deletionOf_.empty() || !messageTitle_.isEmpty());
}

bool PresetPickerView::closeInnermost() {
    if (!deletionOf_.empty()) {
        deletionOf_.clear();
    } else if (!messageTitle_.isEmpty()) {
        messageTitle_.clear();
    } else if (editing_.isOpen()) {
        editing_.cancel();
    } else {
        return false;
    }
    refresh();
    return true;
}

std::vector<MenuLine> PresetPickerView::presetLines() {
    std::vector<MenuLine> lines;
    const auto append = [&](const std::vector<FilterPreset>& presets) {
        for (const auto& preset : presets) {
            lines.push_back({.text = toQt(preset.localizedName()),
                             .picture = swatchImage(preset, devicePixelRatioF()),
                             .isCurrent = preset.id == parts_.filterState.selectedPreset.get().id,
                             .choose = [this, preset] { parts_.filterState.selectedPreset = preset; }});
        }
    };
    lines.push_back({.text = text("Built-in"), .isHeading = true});
    append(FilterPreset::builtIn());
    const auto& own = parts_.customPresetStore.presets.get();
    if (!own.empty()) {
        lines.push_back({.text = text("Custom"), .isHeading = true});
        append(own);
    }
    appendExchangeLines(lines);
    return lines;
}

void PresetPickerView::appendExchangeLines(std::vector<MenuLine>& lines) {
    lines.push_back({});
    lines.push_back({.text = text("Import Presets…"), .choose = [this] { importFile(); }});
    if (!parts_.customPresetStore.presets.get().empty())
        lines.push_back({.text = text("Export Presets…"), .choose = [this] { exportFile(); }});
}

void PresetPickerView::toggleEditor() {
    if (editing_.isOpen()) {
        editing_.cancel();
    } else {
        editing_.beginNew();
    }
}

void PresetPickerView::deleteSelected() {
    const std::string id = std::exchange(deletionOf_, {});
    auto presets = parts_.customPresetStore.presets.get();
    std::erase_if(presets, [&](const FilterPreset& preset) { return preset.id == id; });
    parts_.customPresetStore.presets = std::move(presets);
    const auto saved = parts_.customPresetStore.save();
    parts_.filterState.selectedPreset = FilterPreset::migrainePrecision();
    if (!saved) {
        tell(text("preset.delete_failed", "The preset could not be removed from the file"),
             toQt(localized(saved.error().message)));
    }
}

void PresetPickerView::importFile() {
    askForPresetsToRead(window(), [this](const Result<std::string>& read) {
        const auto imported = read ? parts_.control.carryOut(request::ImportPresets{*read}) : read.error();
        if (imported) {
            tell(countText("import.done", "Imported %lld preset", "Imported %lld presets", imported->ids.size()), {});
        } else {
            tell(text("preset.import_failed", "Nothing was imported"), toQt(localized(imported.error().message)));
        }
    });
}

void PresetPickerView::exportFile() {
    const auto presets = parts_.control.carryOut(request::ExportPresets{});
    if (!presets) return;
    askForFileToWrite(window(), presets->json, [this](const Error& error) {
        tell(text("preset.export_failed", "The presets were not exported"), toQt(localized(error.message)));
    });
}

void PresetPickerView::tell(const QString& title, const QString& message) {
    messageTitle_ = title;
    message_ = message;
    refresh();
}

}  // namespace dravo::ui
