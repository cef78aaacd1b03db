#include "app/preset_editing.h"

#include <chrono>
#include <utility>

namespace dravo {

namespace {

using namespace std::chrono_literals;

constexpr auto kPreviewRest = 50ms;
constexpr std::string_view kPreviewId = "preset-editor-preview";

}  // namespace

PresetEditing::PresetEditing(const PresetEditingParts& parts)
    : parts_(parts), switches_(parts.filterState.isEnabled.onNewValue([this](bool) { isPreviewing_ = false; })) {}

void PresetEditing::beginNew() {
    const auto& state = parts_.filterState;
    FilterPreset draft = state.selectedPreset;
    draft.name.clear();
    draft.intensity = state.intensity;
    draft.dimming = state.dimming;
    draft.blackPoint = state.blackPoint;
    draft.contrast = state.contrast;
    begin(std::move(draft), std::nullopt);
}

void PresetEditing::beginChanging(const FilterPreset& preset) { begin(preset, preset); }

void PresetEditing::begin(FilterPreset draft, std::optional<FilterPreset> stored) {
    cancel();
    changes_.notifyWillChange();
    draft.id = kPreviewId;
    draft.isBuiltIn = false;
    draft_ = std::move(draft);
    stored_ = std::move(stored);
    isOpen_ = true;
}

void PresetEditing::setName(std::string name) {
    if (!isOpen_ || draft_.name == name) return;
    changes_.notifyWillChange();
    draft_.name = std::move(name);
    preparePreview();
}

void PresetEditing::setValue(double FilterPreset::*member, double value) {
    if (!isOpen_ || draft_.*member == value) return;
    changes_.notifyWillChange();
    draft_.*member = value;
    preparePreview();
}

void PresetEditing::preparePreview() {
    if (!parts_.filterState.isEnabled) return;
    pendingPreview_ = parts_.scheduler.after(kPreviewRest, [this] { showPreview(); });
}

void PresetEditing::showPreview() {
    if (!parts_.filterState.isEnabled) return;
    isPreviewing_ = true;
    parts_.grayscale.set(draft_.isGrayscale);
    parts_.applicator.apply(computeTable(draft_, draft_.intensity, draft_.dimming, draft_.blackPoint, draft_.contrast),
                            Fade::none);
}

Result<void> PresetEditing::save() {
    pendingPreview_.cancel();
    FilterPreset preset = draft_;
    preset.id = stored_ ? stored_->id : newPresetId();
    preset.name = trimmedName();
    auto& store = parts_.customPresetStore;
    Result<void> saved;
    if (stored_) {
        saved = store.update(preset);
        parts_.filterState.activateSavedPreset(preset);
    } else {
        auto presets = store.presets.get();
        presets.push_back(preset);
        store.presets = std::move(presets);
        saved = store.save();
        parts_.filterState.selectedPreset = preset;
    }
    endPreview();
    close();
    return saved;
}

void PresetEditing::cancel() {
    if (!isOpen_) return;
    endPreview();
    close();
}

void PresetEditing::endPreview() {
    pendingPreview_.cancel();
    // What is not on screen needs no undoing, and a fade that runs goes on.
    if (std::exchange(isPreviewing_, false)) parts_.filterState.apply(Fade::none);
}

void PresetEditing::close() {
    changes_.notifyWillChange();
    isOpen_ = false;
    stored_.reset();
}

std::string PresetEditing::trimmedName() const {
    const auto first = draft_.name.find_first_not_of(" \t");
    if (first == std::string::npos) return {};
    return draft_.name.substr(first, draft_.name.find_last_not_of(" \t") - first + 1);
}

}  // namespace dravo
