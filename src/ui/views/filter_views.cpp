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

struct AdjustmentLook {
    TextKey label;
    TextKey help;
    AdjustmentRange range;
    bool isSigned;
};

const AdjustmentLook& lookOf(AdjustmentView::Kind kind) {
    static constexpr std::array<AdjustmentLook, 4> kLooks{{
        {textKey("Intensity"), textKey("intensity.help", "How strongly the color filter is applied."), kIntensityRange,
         false},
        {textKey("Dimming"), textKey("dimming.help", "Darkens the screen further than the lowest brightness setting."),
         kDimmingRange, false},
        {textKey("Black Point"), textKey("blackpoint.help", "Lifts pure black toward gray to soften harsh contrast."),
         kBlackPointRange, false},
        {textKey("Contrast"), textKey("contrast.help", "Fine-tunes the difference between light and dark tones."),
         kContrastRange, true},
    }};
    return kLooks.at(static_cast<std::size_t>(kind));
}

constexpr double kStrongReduction = 60;
constexpr double kSomeReduction = 30;

}  // namespace

QuickToggleView::QuickToggleView(const PanelParts& parts) : View(parts) {
    auto* const column = layOut<QVBoxLayout>(this, Theme::kGap);

    auto* const row = bare<QHBoxLayout>(Theme::kGap);
    row->addWidget(new Label(text("Filter"), TextStyle::headline));
    pause_ = new IconButton(Icon::pause, text("Pause temporarily"), this);
    pause_->setOpensMenu();
    pause_->onClick([this] { openPauseMenu(); });
    row->addWidget(pause_);
    row->addStretch();
    switch_ = new ToggleSwitch(ToggleSwitch::Size::regular, text("Filter"), this);
    switch_->onClick([this] { parts_.filterState.toggle(); });
    row->addWidget(switch_);
    column->addLayout(row);

    pausedRow_ = new QWidget(this);
    auto* const paused = new Row(pausedRow_);
    paused->addWidget(new IconMark(Icon::paused, Theme::kSmallIcon, Tone::secondary));
    paused_ = new Label({}, TextStyle::caption, Tone::secondary);
    paused->addWidget(paused_->wrapped());
    paused->addStretch();
    auto* const resume = new PushButton(text("Resume"), PushButton::Kind::plain);
    resume->onClick([this] { parts_.filterState.resume(); });
    paused->addWidget(resume);
    column->addWidget(pausedRow_);

    problem_ = new Label({}, TextStyle::caption, Tone::orange, this);
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
    for (const auto& line : displayProblems(parts_.displays)) lines += QString::fromStdString(line);
    if (const auto line = grayscaleProblem(parts_.filterState.selectedPreset, parts_.grayscale))
        lines += QString::fromStdString(*line);
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

AdjustmentView::AdjustmentView(const PanelParts& parts, Kind kind) : View(parts), kind_(kind) {
    const auto& look = lookOf(kind);
    setToolTip(text(look.help));
    auto* const column = layOut<QVBoxLayout>(this, Theme::kSmallGap);
    auto* const row = bare<QHBoxLayout>(Theme::kGap);
    row->addWidget(new Label(text(look.label), TextStyle::body), 1);
    figure_ = new FigureLabel(TextStyle::body, Tone::secondary);
    row->addWidget(figure_);
    column->addLayout(row);
    slider_ = new AdjustmentSlider(look.range, {}, text(look.label), this);
    slider_->setAccessibleDescription(toolTip());
    slider_->onInput([this](double value) { property() = value; });
    slider_->setResetValue([this] { return presetValue(); });
    column->addWidget(slider_);
}

void AdjustmentView::refresh() {
    const QString figure = percentText(property(), lookOf(kind_).isSigned);
    figure_->setText(figure);
    slider_->setValue(property(), figure);
}

Property<double>& AdjustmentView::property() const {
    auto& state = parts_.filterState;
    switch (kind_) {
        case Kind::dimming:
            return state.dimming;
        case Kind::blackPoint:
            return state.blackPoint;
        case Kind::contrast:
            return state.contrast;
        case Kind::intensity:
            break;
    }
    return state.intensity;
}

double AdjustmentView::presetValue() const {
    const FilterPreset& preset = parts_.filterState.selectedPreset;
    switch (kind_) {
        case Kind::dimming:
            return preset.dimming;
        case Kind::blackPoint:
            return preset.blackPoint;
        case Kind::contrast:
            return preset.contrast;
        case Kind::intensity:
            break;
    }
    return preset.intensity;
}

MelanopicIndicatorView::MelanopicIndicatorView(const PanelParts& parts) : View(parts) {
    // TRANSLATORS: melanopsin is the key driver of photophobia, not the light and not its reduction.
    setToolTip(text("melanopic.help",
                    "Estimated reduction in melanopic light, the wavelengths around 490 nm that activate melanopsin, a "
                    "key driver of light sensitivity and circadian disruption. Higher means more is filtered out."));
    auto* const row = layOut<QHBoxLayout>(this, Theme::kGap);
    row->addWidget(new IconMark(Icon::moon, Theme::kSmallIcon, Tone::secondary));
    row->addWidget((new Label(text("Melanopic light reduced"), TextStyle::caption))->wrapped(), 1);
    figure_ = new FigureLabel(TextStyle::caption, Tone::secondary);
    row->addWidget(figure_);
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
    header_ = new DisclosureButton(text("Advanced"), this);
    header_->onClick([this] {
        parts_.preferences.setAdvancedExpanded(!parts_.preferences.advancedExpanded());
        refresh();
    });
    column->addWidget(header_);
    content_ = new QWidget(this);
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
