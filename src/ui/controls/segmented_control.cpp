#include "ui/controls/segmented_control.h"

#include <utility>

#include "ui/controls/control_painter.h"
#include "ui/controls/label.h"
#include "ui/controls/layout.h"

namespace dravo::ui {

namespace {

constexpr int kGroove = 2;
constexpr int kSegmentRadius = 5;
constexpr int kSegmentPadding = 6;
constexpr int kSetting = Qt::AlignCenter | Qt::TextWordWrap;

/// One of them; a radio button to assistive technology.
class Segment : public Button {
public:
    Segment(const QString& title, std::function<void()> action) : Button(std::move(action)) {
        setText(title);
        setCheckable(true);
        setAutoExclusive(true);
        setFont(fontOf(TextStyle::caption));
        QSizePolicy policy(QSizePolicy::Expanding, QSizePolicy::Preferred);
        policy.setHeightForWidth(true);
        setSizePolicy(policy);
    }
    QSize sizeHint() const override {
        return {fontMetrics().horizontalAdvance(text()) + 2 * kSegmentPadding, forText(Theme::kTarget)};
    }
    QSize minimumSizeHint() const override {
        return {longestWordOf(text(), fontMetrics()) + 2 * kSegmentPadding, sizeHint().height()};
    }
    int heightForWidth(int width) const override {
        const QRect room(0, 0, width - 2 * kSegmentPadding, 0);
        const int more = fontMetrics().boundingRect(room, kSetting, text()).height() - fontMetrics().height();
        return sizeHint().height() + more;
    }

protected:
    void paintEvent(QPaintEvent*) override {
        ControlPainter painter(this);
        const Theme& t = theme();
        if (isChecked()) {
            painter.fillOutlined(edgeOf(rect()), kSegmentRadius, t.raised);
        } else if (isHot()) {
            painter.fill(edgeOf(rect()), kSegmentRadius, t.hairline);
        }
        painter.setPen(isChecked() || isHot() ? t.text : t.secondary);
        painter.drawText(rect().adjusted(kSegmentPadding, 0, -kSegmentPadding, 0), kSetting, text());
        if (showsFocus()) painter.drawFocusRing(rect(), kSegmentRadius);
    }
};

}  // namespace

SegmentedControl::SegmentedControl(const QStringList& titles, const QString& name,
                                   const std::function<void(int)>& onChoice) {
    setAccessibleName(name);
    auto* const row = layOut<QHBoxLayout>(this, 0);
    row->setContentsMargins(kGroove, kGroove, kGroove, kGroove);
    for (int index = 0; index < titles.size(); ++index) {
        auto* const segment = new Segment(titles[index], [onChoice, index] { onChoice(index); });
        row->addWidget(segment, 1);
        segments_.push_back(segment);
    }
}

void SegmentedControl::setChoice(int index) { segments_.at(static_cast<std::size_t>(index))->setChecked(true); }

void SegmentedControl::paintEvent(QPaintEvent*) {
    ControlPainter(this).fill(rect(), Theme::kControlRadius, theme().sunk);
}

}  // namespace dravo::ui
