#pragma once

#include <optional>
#include <string>

#include "base/observable.h"
#include "base/result.h"
#include "base/scheduler.h"
#include "controller/filter_state.h"
#include "display/gamma_applicator.h"
#include "display/grayscale_switch.h"
#include "filter/custom_preset_store.h"

namespace dravo {

/// What editing works with; all of it outlives the editing.
struct PresetEditingParts {
    FilterState& filterState;
    CustomPresetStore& customPresetStore;
    GammaApplicator& applicator;
    GrayscaleSwitch& grayscale;
    Scheduler& scheduler;
};

/// The preset that a person is making or changing, and its preview: 50 ms after the last change the displays show it,
/// without a fade, as long as the filter is on. Nothing is stored before `save`.
///
/// Thread: main thread. Whoever owns it ends it before the displays are given back.
class PresetEditing {
public:
    explicit PresetEditing(const PresetEditingParts& parts);
    PresetEditing(const PresetEditing&) = delete;
    PresetEditing& operator=(const PresetEditing&) = delete;

    [[nodiscard]] const Observable& changes() const { return changes_; }
    [[nodiscard]] bool isOpen() const { return isOpen_; }
    /// Whether one that is stored is being changed, not a new one made.
    [[nodiscard]] bool isOfStored() const { return stored_.has_value(); }
    /// What the fields hold. Its id is of no meaning.
    [[nodiscard]] const FilterPreset& draft() const { return draft_; }

    /// Begins a new preset: the selected one under the live adjustments, without a name.
    void beginNew();
    /// Begins to change this one of the person's own.
    void beginChanging(const FilterPreset& preset);

    void setName(std::string name);
    void setValue(double FilterPreset::*member, double value);

    /// Whether the name has more than spaces and tabs.
    [[nodiscard]] bool canSave() const { return isOpen_ && !trimmedName().empty(); }

    /// Stores the preset, makes it the selected one and closes. REQUIRES: `canSave`.
    /// Errors: those of writing the file; the preset is in use all the same, for as long as the program runs.
    Result<void> save();

    /// Brings back what the controller has on screen where a preview is in its place, and closes. Without effect while
    /// closed.
    void cancel();

    /// The same, but the fields stay: nobody sees them for now. The next change previews again.
    void endPreview();

private:
    void begin(FilterPreset draft, std::optional<FilterPreset> stored);
    void preparePreview();
    void showPreview();
    void close();
    [[nodiscard]] std::string trimmedName() const;

    PresetEditingParts parts_;
    Observable changes_;
    bool isOpen_ = false;
    FilterPreset draft_;
    std::optional<FilterPreset> stored_;
    Timer pendingPreview_;
    bool isPreviewing_ = false;  ///< The displays were last given the draft, not what the controller wants.
    Subscription switches_;
};

}  // namespace dravo
