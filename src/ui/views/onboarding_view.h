#pragma once

#include "ui/controls/label.h"
#include "ui/views/view.h"

namespace dravo::ui {

/// What the panel says before its first use.
class OnboardingView : public View {
public:
    /// `onDismiss` is called when the person begins.
    OnboardingView(const PanelParts& parts, std::function<void()> onDismiss);
    void refresh() override;

private:
    Label* shortcut_;
};

}  // namespace dravo::ui
