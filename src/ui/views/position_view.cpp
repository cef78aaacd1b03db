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
    addSettingsLink(*deniedRow_, SystemSettings::Page::location);
    waitingRow_ = makeRow(Icon::more, waiting_, TextStyle::caption);
    waiting_->setText(text("Determining location…"));
    source_ = new Label({}, TextStyle::caption2, Tone::secondary);
    change_ = new PushButton({}, PushButton::Kind::link, [this] { setChoosing(!isChoosing_); });
    choice_ = makeChoice();
    for (auto* const row : {timesRow_, deniedRow_, waitingRow_, rowOf({source_->wrapped(), change_}), choice_})
        column->addWidget(row);
}

QWidget* PositionView::makeRow(Icon icon, Label*& label, TextStyle style) {
    label = new Label({}, style, Tone::secondary);
    return rowOf({new IconMark(icon, Theme::kSmallIcon, Tone::secondary), label->wrapped()});
}

QWidget* PositionView::makeChoice() {
    using Kind = PushButton::Kind;
    latitude_ = new TextField(text("Latitude"));
    longitude_ = new TextField(text("Longitude"));
    for (auto* const field : {latitude_, longitude_})
        connect(field, &QLineEdit::returnPressed, this, [this] { takeTyped(); });
    complaint_ = new Label({}, TextStyle::caption, Tone::orange);
    auto* const widget = new QWidget;
    auto* const column = layOut<QVBoxLayout>(widget, Theme::kGap);
    column->addWidget(rowOf({
        new PushButton(text("Location Service"), Kind::plain, [this] { take(LocationSource::service); }),
        new PushButton(text("Time Zone"), Kind::plain, [this] { take(LocationSource::zone); }),
    }));
    column->addWidget(
        rowOf({latitude_, longitude_, new PushButton(text("Use"), Kind::plain, [this] { takeTyped(); })}));
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
