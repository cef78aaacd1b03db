#include "ui/views/break_timer_view.h"

#include <QPainter>

#include "ui/controls/layout.h"
#include "ui/controls/row.h"
#include "ui/texts.h"

namespace dravo::ui {

namespace {

constexpr int kBreakPadding = 6;
constexpr int kBreakRadius = 6;
constexpr float kBreakTint = 0.1F;

/// A row on a pale green ground.
class BreakRow : public QWidget {
protected:
    void paintEvent(QPaintEvent*) override {
        QPainter painter(this);
        painter.setRenderHint(QPainter::Antialiasing);
        QColor tint = theme().green;
        tint.setAlphaF(kBreakTint);
        painter.setPen(Qt::NoPen);
        painter.setBrush(tint);
        painter.drawRoundedRect(rect(), kBreakRadius, kBreakRadius);
    }
};

}  // namespace

BreakTimerView::BreakTimerView(const PanelParts& parts) : View(parts) {
    auto* const column = layOut<QVBoxLayout>(this, Theme::kGap);
    header_ = new ToggleRow(text("Break Reminder"), this);
    header_->onFlip([this](bool isOn) { parts_.breakTimer.requestEnabled(isOn); });
    column->addWidget(header_);
    intervalRow_ = makeIntervalRow();
    deniedRow_ = makeDeniedRow();
    breakRow_ = makeBreakRow();
    for (auto* const row : {intervalRow_, deniedRow_, breakRow_}) column->addWidget(row);
}

QWidget* BreakTimerView::makeIntervalRow() {
    auto* const widget = new QWidget(this);
    auto* const row = new Row(widget);
    row->addWidget(new Label(text("Remind every"), TextStyle::caption));
    interval_ = new MenuButton(MenuButton::Size::small, text("Remind every"), widget);
    interval_->setLines([this] {
        std::vector<MenuLine> lines;
        for (const auto interval : BreakTimer::kIntervals) {
            lines.push_back({.text = intervalText(interval),
                             .isCurrent = interval == parts_.breakTimer.interval().get(),
                             .choose = [this, interval] { parts_.breakTimer.setInterval(interval); }});
        }
        return lines;
    });
    row->addWidget(interval_);
    row->addStretch();
    remaining_ = new FigureLabel(TextStyle::caption, Tone::secondary);
    row->addWidget(remaining_);
    return widget;
}

QWidget* BreakTimerView::makeDeniedRow() {
    auto* const widget = new QWidget(this);
    auto* const row = new Row(widget);
    row->addWidget(new IconMark(Icon::bellOff, Theme::kSmallIcon, Tone::orange));
    row->addWidget((new Label(text("Notifications are off in System Settings."), TextStyle::caption))->wrapped());
    if (parts_.systemSettings.offers(SystemSettings::Page::notifications)) {
        auto* const open = new PushButton(text("Open Settings"), PushButton::Kind::link);
        open->onClick([this] { parts_.systemSettings.open(SystemSettings::Page::notifications); });
        row->addWidget(open);
    }
    return widget;
}

QWidget* BreakTimerView::makeBreakRow() {
    auto* const widget = new BreakRow;
    widget->setParent(this);
    auto* const row = new Row(widget);
    row->setContentsMargins(kBreakPadding, kBreakPadding, kBreakPadding, kBreakPadding);
    row->addWidget(new IconMark(Icon::eye, Theme::kSmallIcon, Tone::green));
    row->addWidget((new Label(inOwnDigits(text("Look 20 feet away")), TextStyle::caption))->wrapped());
    row->addStretch();
    breakLeft_ = new FigureLabel(TextStyle::caption, Tone::plain);
    row->addWidget(breakLeft_);
    auto* const done = new PushButton(text("Done"), PushButton::Kind::plain);
    done->onClick([this] { parts_.breakTimer.dismissBreak(); });
    row->addWidget(done);
    return widget;
}

QString BreakTimerView::intervalText(std::chrono::minutes interval) {
    return countText("break.interval_minutes", "%lld min", "%lld min", static_cast<std::uint64_t>(interval.count()));
}

void BreakTimerView::showEvent(QShowEvent* event) {
    // The person may have changed it in the desktop's settings since.
    parts_.breakNotifier.refreshStatus();
    View::showEvent(event);
}

void BreakTimerView::refresh() {
    const auto& timer = parts_.breakTimer;
    const bool isEnabled = timer.isEnabled();
    header_->setOn(isEnabled);
    interval_->setChoice(intervalText(timer.interval()));
    remaining_->setText(inOwnDigits(QString::fromStdString(timer.formattedRemaining())));
    breakLeft_->setText(
        inOwnDigits(QStringLiteral("0:%1").arg(timer.breakLeft().get().count(), 2, 10, QLatin1Char('0'))));
    intervalRow_->setVisible(isEnabled);
    deniedRow_->setVisible(isEnabled && parts_.breakNotifier.authStatus().get() == BreakNotifier::AuthStatus::denied);
    breakRow_->setVisible(timer.showingBreakAlert());
}

}  // namespace dravo::ui
