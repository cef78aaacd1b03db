#include "ui/views/doctor_view.h"

#include <QClipboard>
#include <QGuiApplication>

#include "ui/controls/layout.h"
#include "ui/controls/row.h"
#include "ui/texts.h"

namespace dravo::ui {

namespace {

/// `part` below the title of a row, behind the icon.
QLayout* indented(QWidget* part) {
    auto* const row = bare<QHBoxLayout>(0);
    row->addSpacing(Theme::kSmallIcon + Theme::kGap);
    row->addWidget(part, 1);
    return row;
}

/// A name or a command, which would begin at the far edge where writing goes the other way.
QString fromTheStart(const QString& name) {
    constexpr QChar kRightToLeftMark(0x200f);
    return QGuiApplication::isRightToLeft() ? kRightToLeftMark + name : name;
}

Label* captionOf(const QString& text) { return (new Label(text, TextStyle::caption, Tone::secondary))->wrapped(); }

QWidget* commandRow(const QString& command) {
    return rowOf({captionOf(fromTheStart(command)), nullptr,
                  new IconButton(Icon::copy, text("Copy the Command"),
                                 [command] { QGuiApplication::clipboard()->setText(command); })});
}

QWidget* titleRow(const PortReport& report) {
    const bool works = report.finding.works();
    auto* const title = (new Label(fromTheStart(toQt(localized(titleOf(report)))), TextStyle::caption))->wrapped();
    const TextKey outcome = works ? textKey("doctor.works", "works") : textKey("doctor.fails", "does not work");
    title->setAccessibleName(toQt(localized(withDetail(titleOf(report), outcome))));
    return rowOf(
        {new IconMark(works ? Icon::chosen : Icon::warning, Theme::kSmallIcon, works ? Tone::green : Tone::orange),
         title});
}

QWidget* rowsOf(const PortReport& report) {
    const Finding& finding = report.finding;
    auto* const rows = new QWidget;
    auto* const column = layOut<QVBoxLayout>(rows, Theme::kSmallGap);
    column->addWidget(titleRow(report));
    for (const auto* const sentence : {&finding.problem, &finding.remedy})
        if (!sentence->empty()) column->addLayout(indented(captionOf(toQt(localized(*sentence)))));
    if (!finding.command.empty()) column->addLayout(indented(commandRow(toQt(finding.command))));
    return rows;
}

}  // namespace

DoctorView::DoctorView(const PanelParts& parts) : View(parts) {
    auto* const column = layOut<QVBoxLayout>(this, Theme::kGap);
    header_ = new DisclosureButton(text("What Works Here"), [this] { unfold(!header_->isExpanded()); });
    column->addWidget(header_);
    waiting_ = new Label(text("Looking…"), TextStyle::caption, Tone::secondary);
    column->addWidget(waiting_);
    list_ = new QWidget;
    layOut<QVBoxLayout>(list_, Theme::kGap);
    column->addWidget(list_);
    unfold(false);
}

void DoctorView::appeared() {
    if (header_->isExpanded()) look();
}

void DoctorView::unfold(bool isUnfolded) {
    header_->setExpanded(isUnfolded);
    waiting_->setVisible(isUnfolded && shown_.empty());
    list_->setVisible(isUnfolded && !shown_.empty());
    if (isUnfolded) look();
}

void DoctorView::look() {
    examination_ = parts_.examine([this](const std::vector<PortReport>& reports) { show(reports); });
}

void DoctorView::show(const std::vector<PortReport>& reports) {
    if (reports == shown_) return;
    shown_ = reports;
    for (auto* const rows : list_->findChildren<QWidget*>(Qt::FindDirectChildrenOnly)) delete rows;
    for (const auto& report : shown_) list_->layout()->addWidget(rowsOf(report));
    waiting_->setVisible(header_->isExpanded() && shown_.empty());
    list_->setVisible(header_->isExpanded() && !shown_.empty());
}

}  // namespace dravo::ui
