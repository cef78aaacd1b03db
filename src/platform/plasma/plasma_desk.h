#pragma once

#include <memory>

#include "platform/plasma/plasma_displays.h"
#include "platform/plasma/profile_desk.h"
#include "platform/plasma/profile_last_word.h"

namespace dravo::plasma {

/// The module's side of `ProfileDesk`: the compositor that the environment names.
class PlasmaDesk final : public ProfileDesk {
public:
    explicit PlasmaDesk(const DataFolder& folder) : files_(folder), lastWord_(files_) {}

    LastWord& lastWord() override { return lastWord_; }
    Result<void> open(OriginalGammaStore& store, Scheduler& scheduler) override;
    PlasmaDisplays& displays() override { return *displays_; }
    void listen(DescriptorWatch& watch) override { displays_->listen(watch); }
    bool isFiltering() const override { return displays_->isFiltering(); }
    Subscription onFiltering(std::function<void(bool)> callback) override {
        return displays_->onFiltering(std::move(callback));
    }

private:
    ProfileFiles files_;
    ProfileLastWord lastWord_;
    std::unique_ptr<PlasmaDisplays> displays_;
};

}  // namespace dravo::plasma
