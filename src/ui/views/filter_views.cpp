#include "ui/views/filter_views.h"

#include <chrono>

#include "app/display_problems.h"
#include "app/filter_control.h"
#include "ui/controls/layout.h"
#include "ui/controls/menu_button.h"
#include "ui/controls/row.h"
#include "ui/texts.h"

namespace dravo::ui {

namespace {

using namespace std::chrono_literals;

constexpr double kStrongReduction = 60;
constexpr double kSomeReduction = 30;

}  // namespace

struct AdjustmentView::Look {
    TextKey label;
    TextKey help;
    AdjustmentRange range;
    bool isSigned;
    Property<double> FilterState::*live;
    double FilterPreset::*presets;
};

const AdjustmentView::Look& AdjustmentView::lookOf(Kind kind) {
    static constexpr std::array<Look, 4> kLooks{{
        {textKey("Intensity"), textKey("intensity.help", "How strongly the color filter is applied."), kIntensityRange,
         false, &FilterState::intensity, &FilterPreset::intensity},
        {textKey("Dimming"), textKey("dimming.help", "Darkens the screen further than the lowest brightness setting."),
         kDimmingRange, false, &FilterState::dimming, &FilterPreset::dimming},
        {textKey("Black Point"), textKey("blackpoint.help", "Lifts pure black toward gray to soften harsh contrast."),
         kBlackPointRange, false, &FilterState::blackPoint, &FilterPreset::blackPoint},
        {textKey("Contrast"), textKey("contrast.help", "Fine-tunes the difference between light and dark tones."),
         kContrastRange, true, &FilterState::contrast, &FilterPreset::contrast},
    }};
    return kLooks.at(static_cast<std::size_t>(kind));
}

QuickToggleView::QuickToggleView(const PanelParts& parts) : View(parts) {
    auto* const column = layOut<QVBoxLayout>(this, Theme::kGap);
    auto* const row = bare<QHBoxLayout>(Theme::kGap);
    pause_ = new IconButton(Icon::pause, text("Pause temporarily"), [this] { openPauseMenu(); });
    pause_->setOpensMenu();
    switch_ =
        new ToggleSwitch(ToggleSwitch::Size::regular, text("Filter"), [this](bool) { parts_.filterState.toggle(); });
    row->addWidget(new Label(text("Filter"), TextStyle::headline));
    row->addWidget(pause_);
    row->addStretch();
    row->addWidget(switch_);
    column->addLayout(row);

    paused_ = new Label({}, TextStyle::caption, Tone::secondary);
    pausedRow_ =
        rowOf({new IconMark(Icon::paused, Theme::kSmallIcon, Tone::secondary), paused_->wrapped(), nullptr,
               new PushButton(text("Resume"), PushButton::Kind::plain, [this] { parts_.filterState.resume(); })});
    column->addWidget(pausedRow_);

    problem_ = new Label({}, TextStyle::caption, Tone::orange);
    column->addWidget(problem_->wrapped());
}

void QuickToggleView::refresh() {
    pause_->setVisible(parts_.filterState.isEnabled);
    switch_->setOn(parts_.filterState.isEnabled);
    const auto& end = parts_.filterState.pausedUntil.get();
    if (end) {
        paused_->setText(
            filled(text("pause.resumes_at", "Paused. Resumes at %@."), timeText(parts_.calendar.fields(*end))));
    }
    pausedRow_->setVisible(end.has_value());
    const QString problem = problemText();
    problem_->setText(problem);
    problem_->setVisible(!problem.isEmpty());
}

QString QuickToggleView::problemText() const {
    QStringList lines;
    for (const auto& line : displayProblems(parts_.displays)) lines += toQt(line);
    if (const auto line = grayscaleProblem(parts_.filterState.selectedPreset, parts_.grayscale)) lines += toQt(*line);
    return lines.join(QLatin1Char('\n'));
}

void QuickToggleView::openPauseMenu() {
    auto& state = parts_.filterState;
    const auto pauseFor = [this, &state](auto length) {
        return [this, &state, length] { state.pause(parts_.scheduler.now() + length); };
    };
    openMenu(*pause_,
             {
                 {.text = inOwnDigits(text("For 15 Minutes")), .choose = pauseFor(15min)},
                 {.text = inOwnDigits(text("For 1 Hour")), .choose = pauseFor(1h)},
                 {.text = text("Until Morning"),
                  .choose = [this, &state] { state.pause(nextMorning(parts_.scheduler.now(), parts_.calendar)); }},
             });
}

AdjustmentView::AdjustmentView(const PanelParts& parts, Kind kind) : View(parts), look_(lookOf(kind)) {
    setToolTip(text(look_.help));
    auto* const column = layOut<QVBoxLayout>(this, Theme::kSmallGap);
    auto* const row = bare<QHBoxLayout>(Theme::kGap);
    row->addWidget(new Label(text(look_.label), TextStyle::body), 1);
    figure_ = new FigureLabel(TextStyle::body, Tone::secondary);
    row->addWidget(figure_);
    column->addLayout(row);
    slider_ = new AdjustmentSlider(look_.range, {}, text(look_.label),
                                   [this](double value) { parts_.filterState.*look_.live = value; });
    slider_->setAccessibleDescription(toolTip());
    slider_->setResetValue([this] { return parts_.filterState.selectedPreset.get().*look_.presets; });
    column->addWidget(slider_);
}

void AdjustmentView::refresh() {
    const double value = parts_.filterState.*look_.live;
    const QString figure = percentText(value, look_.isSigned);
    figure_->setText(figure);
    slider_->setValue(value, figure);
}

FigureLabel* addMelanopicRow(QHBoxLayout& row) {
    auto* const figure = new FigureLabel(TextStyle::caption, Tone::secondary);
    row.addWidget(new IconMark(Icon::moon, Theme::kSmallIcon, Tone::secondary));
    row.addWidget((new Label(text("Melanopic light reduced"), TextStyle::caption))->wrapped(), 1);
    row.addWidget(figure);
    return figure;
}

MelanopicIndicatorView::MelanopicIndicatorView(const PanelParts& parts)
    : View(parts), figure_(addMelanopicRow(*layOut<QHBoxLayout>(this, Theme::kGap))) {
    // TRANSLATORS: melanopsin is the key driver of photophobia, not the light and not its reduction.
    setToolTip(text("melanopic.help",
                    "Estimated reduction in melanopic light, the wavelengths around 490 nm that activate melanopsin, a "
                    "key driver of light sensitivity and circadian disruption. Higher means more is filtered out."));
}

void MelanopicIndicatorView::refresh() {
    if (!parts_.filterState.isEnabled) {
        figure_->setTone(Tone::secondary);
        figure_->setText(text("Off"));
        return;
    }
    const double reduction = parts_.filterState.melanopicReduction();
    figure_->setTone(reduction >= kStrongReduction ? Tone::green
                     : reduction >= kSomeReduction ? Tone::orange
                                                   : Tone::secondary);
    figure_->setText(percentText(reduction / 100, false));
}

DimmingControlView::DimmingControlView(const PanelParts& parts) : View(parts) {
    auto* const column = layOut<QVBoxLayout>(this, Theme::kGap);
    header_ = new DisclosureButton(text("Advanced"), [this] {
        parts_.preferences.setAdvancedExpanded(!parts_.preferences.advancedExpanded());
        refresh();
    });
    column->addWidget(header_);
    content_ = new QWidget;
    auto* const blocks = layOut<QVBoxLayout>(content_, Theme::kGap);
    using Kind = AdjustmentView::Kind;
    blocks_ = {new AdjustmentView(parts, Kind::dimming), new AdjustmentView(parts, Kind::blackPoint),
               new AdjustmentView(parts, Kind::contrast)};
    for (auto* const block : blocks_) blocks->addWidget(block);
    column->addWidget(content_);
}

void DimmingControlView::refresh() {
    header_->setExpanded(parts_.preferences.advancedExpanded());
    content_->setVisible(header_->isExpanded());
    for (auto* const block : blocks_) block->refresh();
}

}  // namespace dravo::ui
