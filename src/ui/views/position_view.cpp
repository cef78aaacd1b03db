#include "ui/views/position_view.h"

#include "schedule/solar_calculator.h"
#include "ui/controls/layout.h"
#include "ui/controls/row.h"
#include "ui/texts.h"

namespace dravo::ui {

namespace {

constexpr int kCoordinateDigits = 2;

}  // namespace

PositionView::PositionView(const PanelParts& parts) : View(parts) {
    auto* const column = layOut<QVBoxLayout>(this, Theme::kSmallGap);
    timesRow_ = makeRow(Icon::sunset, times_, TextStyle::caption);
    deniedRow_ = makeRow(Icon::locationOff, denied_, TextStyle::caption2);
    denied_->setText(text("solar.needs_location", "Turn on location access in System Settings to use sunset times."));
    if (parts.systemSettings.offers(SystemSettings::Page::location)) {
        auto* const open = new PushButton(text("Open Settings"), PushButton::Kind::link);
        open->onClick([this] { parts_.systemSettings.open(SystemSettings::Page::location); });
        deniedRow_->layout()->addWidget(open);
    }
    waitingRow_ = makeRow(Icon::more, waiting_, TextStyle::caption);
    waiting_->setText(text("Determining location…"));
    for (auto* const row : {timesRow_, deniedRow_, waitingRow_}) column->addWidget(row);
    column->addWidget(makeSourceRow());
    choice_ = makeChoice();
    column->addWidget(choice_);
}

QWidget* PositionView::makeRow(Icon icon, Label*& label, TextStyle style) {
    auto* const widget = new QWidget(this);
    auto* const row = new Row(widget);
    row->addWidget(new IconMark(icon, Theme::kSmallIcon, Tone::secondary));
    label = new Label({}, style, Tone::secondary);
    row->addWidget(label->wrapped());
    return widget;
}

QWidget* PositionView::makeSourceRow() {
    auto* const widget = new QWidget(this);
    auto* const row = new Row(widget);
    source_ = new Label({}, TextStyle::caption2, Tone::secondary);
    row->addWidget(source_->wrapped());
    change_ = new PushButton({}, PushButton::Kind::link, widget);
    change_->onClick([this] { setChoosing(!isChoosing_); });
    row->addWidget(change_);
    return widget;
}

QWidget* PositionView::makeChoice() {
    auto* const widget = new QWidget(this);
    auto* const column = layOut<QVBoxLayout>(widget, Theme::kGap);
    auto* const sources = new Row;
    auto* const service = new PushButton(text("Location Service"), PushButton::Kind::plain);
    service->onClick([this] { take(LocationSource::service); });
    auto* const zone = new PushButton(text("Time Zone"), PushButton::Kind::plain);
    zone->onClick([this] { take(LocationSource::zone); });
    sources->addWidget(service);
    sources->addWidget(zone);
    column->addLayout(sources);
    auto* const typed = new Row;
    latitude_ = new TextField(text("Latitude"), widget);
    longitude_ = new TextField(text("Longitude"), widget);
    auto* const use = new PushButton(text("Use"), PushButton::Kind::plain);
    use->onClick([this] { takeTyped(); });
    for (auto* const field : {latitude_, longitude_}) {
        connect(field, &QLineEdit::returnPressed, this, [this] { takeTyped(); });
        typed->addWidget(field);
    }
    typed->addWidget(use);
    column->addLayout(typed);
    complaint_ = new Label({}, TextStyle::caption, Tone::orange);
    column->addWidget(complaint_->wrapped());
    return widget;
}

void PositionView::setChoosing(bool isChoosing) {
    isChoosing_ = isChoosing;
    complaint_->clear();
    const auto fill = [](TextField* field, const std::optional<double>& degrees) {
        field->setText(degrees ? decimalText(*degrees, kCoordinateDigits) : QString());
    };
    fill(latitude_, parts_.preferences.lastLatitude());
    fill(longitude_, parts_.preferences.lastLongitude());
    refresh();
}

void PositionView::take(LocationSource source) {
    if (source == LocationSource::zone) {
        if (const auto taken = parts_.locationProvider.useZone(); !taken) {
            complaint_->setText(text("position.zone_unknown", "The time zone has no known place."));
            refresh();
            return;
        }
    } else {
        parts_.locationProvider.useService();
    }
    setChoosing(false);
}

void PositionView::takeTyped() {
    const Position position{typedNumber(latitude_->text()), typedNumber(longitude_->text())};
    if (const auto taken = parts_.locationProvider.useTyped(position); !taken) {
        complaint_->setText(
            text("position.range", "Latitude goes from -90 to 90, longitude from -180 to 180 degrees."));
        refresh();
        return;
    }
    setChoosing(false);
}

void PositionView::hideEvent(QHideEvent* event) {
    View::hideEvent(event);
    if (!event->spontaneous()) isChoosing_ = false;
}

void PositionView::refresh() {
    const auto latitude = parts_.preferences.lastLatitude();
    const auto longitude = parts_.preferences.lastLongitude();
    std::optional<SolarTimes> sun;
    if (latitude && longitude) {
        sun = SolarCalculator::solarTimes(parts_.scheduler.now(), *latitude, *longitude, parts_.calendar);
    }
    if (sun) {
        times_->setText(filled(text("solar.range", "Sunset %@ to sunrise %@"),
                               timeText(parts_.calendar.fields(sun->sunset)),
                               timeText(parts_.calendar.fields(sun->sunrise))));
    }
    using Status = LocationProvider::Status;
    const Status status = parts_.locationProvider.status();
    const bool isDenied = !sun && status == Status::denied;
    const bool isPolar = latitude && longitude && !sun;
    timesRow_->setVisible(sun.has_value());
    deniedRow_->setVisible(isDenied);
    waitingRow_->setVisible(!sun && !isDenied && (!isPolar || status == Status::waiting));
    source_->setText(isPolar ? text("position.polar", "At your place the sun does not rise or set today.")
                             : sourceText(isDenied));
    change_->setText(isChoosing_ ? text("Cancel") : text("Change…"));
    change_->updateGeometry();
    complaint_->setVisible(!complaint_->text().isEmpty());
    choice_->setVisible(isChoosing_);
}

QString PositionView::sourceText(bool isDenied) const {
    switch (parts_.preferences.locationSource()) {
        case LocationSource::typed:
            return text("position.typed", "For the position that you entered.");
        case LocationSource::zone:
            return text("position.zone", "For the time zone's main city, approximately.");
        case LocationSource::service:
            break;
    }
    if (isDenied) return text("position.instead", "Or give Dravo a place yourself.");
    // Until it has answered, the person learns what following the sun asks for.
    const bool isKnown = parts_.preferences.lastLatitude() && parts_.preferences.lastLongitude();
    return isKnown
               ? text("position.service", "For your approximate position.")
               : text("position.consent", "Dravo asks this desktop's location service for your approximate position.");
}

}  // namespace dravo::ui
