#include "ui/views/break_timer_view.h"

#include "ui/controls/control_painter.h"
#include "ui/controls/layout.h"
#include "ui/controls/row.h"
#include "ui/texts.h"

namespace dravo::ui {

namespace {

constexpr int kBreakPadding = 6;
constexpr int kBreakRadius = 6;
constexpr float kBreakTint = 0.1F;

/// What lies on a pale green ground.
class BreakGround : public QWidget {
protected:
    void paintEvent(QPaintEvent*) override {
        QColor tint = theme().green;
        tint.setAlphaF(kBreakTint);
        ControlPainter(this).fill(rect(), kBreakRadius, tint);
    }
};

}  // namespace

BreakTimerView::BreakTimerView(const PanelParts& parts) : View(parts) {
    header_ = new ToggleRow(text("Break Reminder"), [this](bool isOn) { parts_.breakTimer.requestEnabled(isOn); });
    intervalRow_ = makeIntervalRow();
    deniedRow_ = makeDeniedRow();
    breakRow_ = makeBreakRow();
    auto* const column = layOut<QVBoxLayout>(this, Theme::kGap);
    for (auto* const row : {static_cast<QWidget*>(header_), intervalRow_, deniedRow_, breakRow_})
        column->addWidget(row);
}

QWidget* BreakTimerView::makeIntervalRow() {
    interval_ = new MenuButton(MenuButton::Size::small, text("Remind every"), [this] {
        std::vector<MenuLine> lines;
        for (const auto interval : BreakTimer::kIntervals) {
            lines.push_back({.text = intervalText(interval),
                             .isCurrent = interval == parts_.breakTimer.interval().get(),
                             .choose = [this, interval] { parts_.breakTimer.setInterval(interval); }});
        }
        return lines;
    });
    remaining_ = new FigureLabel(TextStyle::caption, Tone::secondary);
    return rowOf({new Label(text("Remind every"), TextStyle::caption), interval_, nullptr, remaining_});
}

QWidget* BreakTimerView::makeDeniedRow() {
    auto* const row =
        rowOf({new IconMark(Icon::bellOff, Theme::kSmallIcon, Tone::orange),
               (new Label(text("Notifications are off in System Settings."), TextStyle::caption))->wrapped()});
    addSettingsLink(*row, SystemSettings::Page::notifications);
    return row;
}

QWidget* BreakTimerView::makeBreakRow() {
    auto* const ground = new BreakGround;
    auto* const row = new Row(ground);
    row->setContentsMargins(kBreakPadding, kBreakPadding, kBreakPadding, kBreakPadding);
    row->addWidget(new IconMark(Icon::eye, Theme::kSmallIcon, Tone::green));
    row->addWidget((new Label(inOwnDigits(text("Look 20 feet away")), TextStyle::caption))->wrapped());
    row->addStretch();
    breakLeft_ = new FigureLabel(TextStyle::caption, Tone::plain);
    row->addWidget(breakLeft_);
    row->addWidget(new PushButton(text("Done"), PushButton::Kind::plain, [this] { parts_.breakTimer.dismissBreak(); }));
    return ground;
}

QString BreakTimerView::intervalText(std::chrono::minutes interval) {
    return countText("break.interval_minutes", "%lld min", "%lld min", static_cast<std::uint64_t>(interval.count()));
}

// The person may have changed it in the desktop's settings since.
void BreakTimerView::appeared() { parts_.breakNotifier.refreshStatus(); }

void BreakTimerView::refresh() {
    const auto& timer = parts_.breakTimer;
    const bool isEnabled = timer.isEnabled();
    header_->setOn(isEnabled);
    interval_->setChoice(intervalText(timer.interval()));
    remaining_->setText(inOwnDigits(toQt(timer.formattedRemaining())));
    breakLeft_->setText(
        inOwnDigits(QStringLiteral("0:%1").arg(timer.breakLeft().get().count(), 2, 10, QLatin1Char('0'))));
    intervalRow_->setVisible(isEnabled);
    deniedRow_->setVisible(isEnabled && parts_.breakNotifier.authStatus().get() == BreakNotifier::AuthStatus::denied);
    breakRow_->setVisible(timer.showingBreakAlert());
}

}  // namespace dravo::ui
