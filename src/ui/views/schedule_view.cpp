#include "ui/views/schedule_view.h"

#include "ui/controls/layout.h"
#include "ui/controls/row.h"
#include "ui/texts.h"
#include "ui/views/position_view.h"

namespace dravo::ui {

ScheduleView::ScheduleView(const PanelParts& parts) : View(parts) {
    auto* const column = layOut<QVBoxLayout>(this, Theme::kGap);
    header_ = new ToggleRow(text("Automatic Schedule"), [this](bool isOn) {
        parts_.preferences.setScheduleEnabled(isOn);
        parts_.filterState.refreshState();
    });
    header_->setToolTip(text("schedule.help",
                             "Turns the filter on and off automatically. Toggling it yourself overrides the schedule "
                             "until the next scheduled change."));
    column->addWidget(header_);

    content_ = new QWidget;
    auto* const rows = layOut<QVBoxLayout>(content_, Theme::kGap);
    mode_ = new SegmentedControl({text("Custom Times"), text("Sunset to Sunrise")}, text("Schedule"),
                                 [this](int index) { setMode(static_cast<ScheduleMode>(index)); });
    rows->addWidget(mode_);
    timesRow_ = makeTimesRow();
    rows->addWidget(timesRow_);
    neverOn_ = new Label(text("schedule.never_on", "Both times are the same: the schedule keeps the filter off."),
                         TextStyle::caption, Tone::orange);
    rows->addWidget(neverOn_->wrapped());
    position_ = new PositionView(parts);
    rows->addWidget(position_);
    nextChange_ = new Label({}, TextStyle::caption, Tone::secondary);
    rows->addWidget(nextChange_->wrapped());
    column->addWidget(content_);
}

QWidget* ScheduleView::makeTimesRow() {
    auto* const widget = new QWidget;
    auto* const row = new Row(widget);
    // TRANSLATORS: "From" and "to" stand before two fields with times of day, in one row.
    start_ = new TimeField(text("From"), [this](int minutes) {
        parts_.preferences.setScheduleStartMinutes(minutes);
        parts_.filterState.refreshState();
    });
    // TRANSLATORS: "From" and "to" stand before two fields with times of day, in one row.
    end_ = new TimeField(text("to"), [this](int minutes) {
        parts_.preferences.setScheduleEndMinutes(minutes);
        parts_.filterState.refreshState();
    });
    for (auto* const field : {start_, end_}) {
        auto* const named = bare<QHBoxLayout>(Theme::kGap);
        named->addWidget(new Label(field->accessibleName(), TextStyle::caption));
        named->addWidget(field);
        row->addLayout(named);
    }
    return widget;
}

void ScheduleView::setMode(ScheduleMode mode) {
    parts_.preferences.setScheduleMode(mode);
    if (mode == ScheduleMode::sunsetToSunrise) parts_.locationProvider.start();
    parts_.filterState.refreshState();
}

void ScheduleView::appeared() {
    const bool followsSun = parts_.preferences.scheduleMode() == ScheduleMode::sunsetToSunrise;
    if (parts_.preferences.scheduleEnabled() && followsSun) parts_.locationProvider.start();
}

void ScheduleView::refresh() {
    const auto& preferences = parts_.preferences;
    header_->setOn(preferences.scheduleEnabled());
    content_->setVisible(preferences.scheduleEnabled());
    if (!preferences.scheduleEnabled()) return;
    const bool followsSun = preferences.scheduleMode() == ScheduleMode::sunsetToSunrise;
    mode_->setChoice(followsSun ? 1 : 0);
    timesRow_->setVisible(!followsSun);
    const auto start = preferences.scheduleStartMinutes();
    const auto end = preferences.scheduleEndMinutes();
    start_->setMinutes(shownMinutes(start));
    end_->setMinutes(shownMinutes(end));
    neverOn_->setVisible(!followsSun && start == end);
    position_->refresh();
    position_->setVisible(followsSun);
    const QString next = nextChangeText();
    nextChange_->setText(next);
    nextChange_->setVisible(!next.isEmpty());
}

// What is no time of day shows as the present one, until the person sets it.
int ScheduleView::shownMinutes(std::int64_t stored) const {
    constexpr int kDay = 24 * 60;
    if (stored >= 0 && stored < kDay) return static_cast<int>(stored);
    const auto now = parts_.calendar.fields(parts_.scheduler.now());
    return 60 * now.hour + now.minute;
}

QString ScheduleView::nextChangeText() const {
    const auto& next = parts_.filterState.nextScheduledChange.get();
    if (!next) return {};
    const QString form = next->turnsOn ? text("schedule.on_at", "On at %@") : text("schedule.off_at", "Off at %@");
    return filled(form, timeText(parts_.calendar.fields(next->at)));
}

}  // namespace dravo::ui
