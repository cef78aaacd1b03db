#pragma once

#include <QHBoxLayout>
#include <array>

#include "ui/controls/adjustment_slider.h"
#include "ui/controls/label.h"
#include "ui/controls/toggle_switch.h"
#include "ui/views/view.h"

namespace dravo::ui {

/// The filter's switch with its pause menu, when a pause ends, and which displays cannot be filtered.
class QuickToggleView : public View {
public:
    explicit QuickToggleView(const PanelParts& parts);
    void refresh() override;

private:
    void openPauseMenu();
    [[nodiscard]] QString problemText() const;

    IconButton* pause_;
    ToggleSwitch* switch_;
    QWidget* pausedRow_;
    Label* paused_;
    Label* problem_;
};

/// A labelled slider over one of the four adjustments, with its value.
class AdjustmentView : public View {
public:
    enum class Kind { intensity, dimming, blackPoint, contrast };
    AdjustmentView(const PanelParts& parts, Kind kind);
    void refresh() override;

private:
    struct Look;
    [[nodiscard]] static const Look& lookOf(Kind kind);

    const Look& look_;
    FigureLabel* figure_;
    AdjustmentSlider* slider_;
};

/// Lays out a row that says how much melanopic light is removed; gives its figure.
FigureLabel* addMelanopicRow(QHBoxLayout& row);

/// How much melanopic light the filter removes.
class MelanopicIndicatorView : public View {
public:
    explicit MelanopicIndicatorView(const PanelParts& parts);
    void refresh() override;

private:
    FigureLabel* figure_;
};

/// The adjustments that most people leave alone, folded away.
class DimmingControlView : public View {
public:
    explicit DimmingControlView(const PanelParts& parts);
    void refresh() override;

private:
    DisclosureButton* header_;
    QWidget* content_;
    std::array<AdjustmentView*, 3> blocks_;
};

}  // namespace dravo::ui
