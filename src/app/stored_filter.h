#pragma once

#include "base/subscription.h"
#include "display/gamma_applicator.h"
#include "display/grayscale_switch.h"
#include "filter/model/preferences_store.h"

namespace dravo {

/// Puts the stored preset with the stored adjustments on screen while the stored settings say on, and follows a person
/// who edits the settings file.
///
/// Thread: main thread.
class StoredFilter {
public:
    StoredFilter(PreferencesStore& preferences, GammaApplicator& applicator, OriginalGammaStore& originalGamma,
                 GrayscaleSwitch& grayscale);

    /// Shows what is stored, without a fade.
    void start();

    /// Off until the settings say on again.
    void switchOff();

private:
    void show(Fade fade);

    PreferencesStore& preferences_;
    GammaApplicator& applicator_;
    OriginalGammaStore& originalGamma_;
    GrayscaleSwitch& grayscale_;
    Subscription outsideChanges_;
};

}  // namespace dravo
