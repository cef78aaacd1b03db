#include "ui/views/preset_editor_view.h"

#include <algorithm>
#include <array>

#include "melanopic/melanopic_model.h"
#include "ui/controls/button.h"
#include "ui/controls/layout.h"
#include "ui/texts.h"
#include "ui/views/filter_views.h"

namespace dravo::ui {

namespace {

constexpr int kRowGap = 6;
constexpr int kLabelWidth = 68;
constexpr int kWidestLine = 104;
constexpr int kFigureWidth = 44;

}  // namespace

struct PresetEditorView::FieldLook {
    TextKey label;
    double FilterPreset::*member;
    AdjustmentRange range;
    Figure figure;
    AdjustmentSlider::Steps steps = {};
};

PresetEditorView::PresetEditorView(const PanelParts& parts, PresetEditing& editing,
                                   std::function<void(const Error&)> onSaveFailed)
    : View(parts), editing_(editing), onSaveFailed_(std::move(onSaveFailed)) {
    static constexpr std::array<FieldLook, 7> kMain{{
        {textKey("Red"), &FilterPreset::redFactor, kFactorRange, Figure::decimal},
        {textKey("Green"), &FilterPreset::greenFactor, kFactorRange, Figure::decimal},
        {textKey("Blue"), &FilterPreset::blueFactor, kFactorRange, Figure::decimal},
        {textKey("Intensity"), &FilterPreset::intensity, kIntensityRange, Figure::percent},
        {textKey("Dimming"), &FilterPreset::dimming, kDimmingRange, Figure::percent},
        {textKey("Black Point"), &FilterPreset::blackPoint, kBlackPointRange, Figure::percent},
        {textKey("Contrast"), &FilterPreset::contrast, kContrastRange, Figure::signedPercent},
    }};
    auto* const column = layOut<QVBoxLayout>(this, kRowGap);
    column->addWidget(new Divider);
    title_ = new Label({}, TextStyle::title);
    column->addWidget(title_);
    name_ = new TextField(text("Preset Name"));
    // Assistive technology sets a text without editing it.
    connect(name_, &QLineEdit::textChanged, this, [this](const QString& changed) {
        if (const std::string name = changed.toStdString(); name != editing_.draft().name) editing_.setName(name);
    });
    connect(name_, &QLineEdit::returnPressed, this, [this] { save(); });
    column->addWidget(name_);
    curve_ = new CurveView(text("Transfer curves of this preset"));
    column->addWidget(curve_);
    auto* const melanopic = bare<QHBoxLayout>(Theme::kGap);
    melanopic_ = addMelanopicRow(*melanopic);
    column->addLayout(melanopic);
    for (const auto& look : kMain) column->addLayout(makeField(look));
    header_ = new DisclosureButton(text("Advanced"), [this] { setExpanded(!header_->isExpanded()); });
    column->addWidget(header_);
    advanced_ = makeAdvanced();
    column->addWidget(advanced_);
    setExpanded(false);
    column->addLayout(makeButtons());
    alignLabels();
}

// One column for all: as wide as English needs, wider where another language needs more for a line or at least a word.
void PresetEditorView::alignLabels() {
    int width = forText(kLabelWidth);
    for (const auto* const label : labels_) {
        const int whole = label->fontMetrics().horizontalAdvance(label->text());
        width = std::max(width, whole <= forText(kWidestLine) ? whole : label->longestWord());
    }
    for (auto* const label : labels_) label->setFixedWidth(width);
}

QLayout* PresetEditorView::makeField(const FieldLook& look) {
    auto* const row = bare<QHBoxLayout>(Theme::kGap);
    auto* const label = new Label(text(look.label), TextStyle::caption);
    label->wrapped();
    labels_.push_back(label);
    row->addWidget(label);
    auto* const slider =
        new AdjustmentSlider(look.range, look.steps, text(look.label),
                             [this, member = look.member](double value) { editing_.setValue(member, value); });
    row->addWidget(slider, 1);
    auto* const value = new FigureLabel(TextStyle::caption, Tone::secondary);
    value->setFixedWidth(forText(kFigureWidth));
    row->addWidget(value);
    fields_.push_back({look.member, look.figure, slider, value});
    return row;
}

QWidget* PresetEditorView::makeAdvanced() {
    static constexpr std::array<FieldLook, 5> kLooks{{
        {textKey("Gamma"), &FilterPreset::gamma, kGammaRange, Figure::decimal},
        {textKey("Temp (K)"), &FilterPreset::colorTemperature, kColorTemperatureRange, Figure::whole, {50, 500}},
        {textKey("R Int"), &FilterPreset::redIntensity, kChannelIntensityRange, Figure::decimal},
        {textKey("G Int"), &FilterPreset::greenIntensity, kChannelIntensityRange, Figure::decimal},
        {textKey("B Int"), &FilterPreset::blueIntensity, kChannelIntensityRange, Figure::decimal},
    }};
    constexpr std::size_t kCurveFields = 2;
    auto* const widget = new QWidget;
    auto* const column = layOut<QVBoxLayout>(widget, kRowGap);
    for (std::size_t i = 0; i < kLooks.size(); ++i) {
        if (i == kCurveFields) {
            column->addWidget(new Divider);
            column->addWidget(new Label(text("Per-Channel Intensity"), TextStyle::caption));
        }
        column->addLayout(makeField(kLooks.at(i)));
    }
    return widget;
}

QLayout* PresetEditorView::makeButtons() {
    auto* const row = bare<QHBoxLayout>(Theme::kGap);
    row->setContentsMargins(0, Theme::kSmallGap, 0, 0);
    save_ = new PushButton(text("Save"), PushButton::Kind::primary, [this] { save(); });
    row->addWidget(new PushButton(text("Cancel"), PushButton::Kind::plain, [this] { editing_.cancel(); }));
    row->addStretch();
    row->addWidget(save_);
    return row;
}

QString PresetEditorView::figureOf(double value, Figure figure) {
    switch (figure) {
        case Figure::decimal:
            return decimalText(value, 2);
        case Figure::whole:
            return decimalText(value, 0);
        case Figure::signedPercent:
            return percentText(value, true);
        case Figure::percent:
            break;
    }
    return percentText(value, false);
}

void PresetEditorView::refresh() {
    if (!editing_.isOpen()) return;
    const FilterPreset& draft = editing_.draft();
    title_->setText(editing_.isOfStored() ? text("Edit Preset") : text("New Preset"));
    const QString name = toQt(draft.name);
    if (name_->text() != name) name_->setText(name);
    for (const auto& field : fields_) {
        const double value = draft.*field.member;
        const QString figure = figureOf(value, field.figure);
        field.slider->setValue(value, figure);
        field.value->setText(figure);
    }
    curve_->setTable(computeTable(draft, draft.intensity, draft.dimming, draft.blackPoint, draft.contrast));
    melanopic_->setText(percentText(
        melanopicReduction(draft, {draft.intensity, draft.dimming, draft.blackPoint, draft.contrast}) / 100, false));
    save_->setEnabled(editing_.canSave());
}

void PresetEditorView::save() {
    if (!editing_.canSave()) return;
    if (const auto saved = editing_.save(); !saved) onSaveFailed_(saved.error());
}

void PresetEditorView::disappeared() {
    // Closing the panel keeps the fields; the next editor opens folded.
    if (editing_.isOpen()) {
        editing_.endPreview();
    } else {
        setExpanded(false);
    }
}

void PresetEditorView::setExpanded(bool isExpanded) {
    header_->setExpanded(isExpanded);
    advanced_->setVisible(isExpanded);
}

}  // namespace dravo::ui
