#include "app/stored_filter.h"

#include <algorithm>

#include "filter/model/filter_preset.h"

namespace dravo {

StoredFilter::StoredFilter(PreferencesStore& preferences, GammaApplicator& applicator,
                           OriginalGammaStore& originalGamma, GrayscaleSwitch& grayscale)
    : preferences_(preferences), applicator_(applicator), originalGamma_(originalGamma), grayscale_(grayscale) {
    outsideChanges_ = preferences_.onOutsideChange([this](const DefaultsKeys&) {
        if (preferences_.filterEnabled()) {
            originalGamma_.saveIfAbsent();
            show(Fade::animated);
        } else {
            grayscale_.set(false);
            applicator_.reset(Fade::animated);
        }
    });
}

void StoredFilter::start() {
    if (preferences_.filterEnabled()) show(Fade::none);
}

void StoredFilter::switchOff() {
    preferences_.setFilterEnabled(false);
    grayscale_.set(false);
    applicator_.reset(Fade::none);
}

void StoredFilter::show(Fade fade) {
    const auto& presets = FilterPreset::builtIn();
    const auto id = preferences_.lastPresetID();
    const auto stored = std::ranges::find(presets, id.value_or(""), &FilterPreset::id);
    const FilterPreset& preset = stored == presets.end() ? FilterPreset::defaultPreset() : *stored;
    grayscale_.set(preset.isGrayscale);
    applicator_.apply(computeTable(preset, preferences_.lastIntensity(), preferences_.lastDimming(),
                                   preferences_.lastBlackPoint(), preferences_.lastContrast()),
                      fade);
}

}  // namespace dravo
